// AnswerFormat: how answers are printed, by name.
//
//    text   for people: columns for the query, the answer and the payload
//    tsv    QUERY<TAB>ANSWER, "-" for no answer, "yes" or "no"; an op with many answers has a line for each
//    tsv-payload   the same and <TAB>PAYLOAD, empty if there is none (see TsvField)
//    csv    QUERY,ANSWER,PAYLOAD, and these names first (see Rows)
//    json   one object a line: query, answer (null for none; true or false), payload (null if there is no route); nexthops
//           if the payload has several; candidates, best first, if the writer is given them
//
// To add a format, give it a row in AnswerFormat.cpp. Tested by tests/tools/rtrie/AnswerFormatTest.cpp.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Output.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

// The payload of a route; nullopt if there is no such route. The view holds as long as the writer does.
using PayloadOf = std::function<std::optional<std::string_view>(const Corenet::IpGenPrefix& route)>;

// All offers for a route, best first.
using CandidatesOf = std::function<std::vector<Candidate>(const Corenet::IpGenPrefix& route)>;

// Prints the answers of one op. The output must outlive it.
class AnswerWriter {
  public:
   AnswerWriter(Output& output, PayloadOf payloadOf, const Op& op)
      : output_(output), payloadOf_(std::move(payloadOf)), op_(op) {}
   AnswerWriter(const AnswerWriter&) = delete;
   AnswerWriter& operator=(const AnswerWriter&) = delete;
   virtual ~AnswerWriter() = default;

   // For an op about the query itself, in a format that tells them.
   void candidatesAre(CandidatesOf candidatesOf) { candidatesOf_ = std::move(candidatesOf); }
   bool tellsCandidates() const { return candidatesOf_ != nullptr; }

   virtual void write(const Corenet::IpGenPrefix& query, const Answer& answer) = 0;

   // Prints what is held back, and flushes the output.
   virtual void flush() { output_.flush(); }

  protected:
   Output& output_;
   const PayloadOf payloadOf_;
   const Op& op_;
   CandidatesOf candidatesOf_;
};

struct AnswerFormat {
   std::string_view name;
   std::string_view summary;
   std::unique_ptr<AnswerWriter> (*writer)(Output& output, PayloadOf payloadOf, const Op& op);
   bool tellsCandidates = false;
};

// The first is the default.
std::span<const AnswerFormat> answerFormats();

}  // namespace Rtrie
