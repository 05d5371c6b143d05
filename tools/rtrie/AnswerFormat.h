// AnswerFormat: how answers are printed, by name.
//
//    text   for people: columns for the query, the answer and the payload
//    tsv    QUERY<TAB>ANSWER, "-" for no answer, "yes" or "no"; an op with many answers has a line for each
//    tsv-payload   the same and <TAB>PAYLOAD, empty if there is none (see TsvField)
//    json   one object a line: query, answer (null for none; true or false), payload (null if there is no route)
//
// To add a format, give it a row in AnswerFormat.cpp. Tested by tests/tools/rtrie/AnswerFormatTest.cpp.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "routetrie/platform/Corenet.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Output.h"

namespace Rtrie {

// The payload of a route; nullopt if there is no such route. The view holds as long as the writer does.
using PayloadOf = std::function<std::optional<std::string_view>(const Corenet::IpGenPrefix& route)>;

// Prints the answers of one op. The output must outlive it.
class AnswerWriter {
  public:
   AnswerWriter(Output& output, PayloadOf payloadOf, const Op& op)
      : output_(output), payloadOf_(std::move(payloadOf)), op_(op) {}
   AnswerWriter(const AnswerWriter&) = delete;
   AnswerWriter& operator=(const AnswerWriter&) = delete;
   virtual ~AnswerWriter() = default;

   virtual void write(const Corenet::IpGenPrefix& query, const Answer& answer) = 0;

   // Prints what is held back, and flushes the output.
   virtual void flush() { output_.flush(); }

  protected:
   Output& output_;
   const PayloadOf payloadOf_;
   const Op& op_;
};

struct AnswerFormat {
   std::string_view name;
   std::string_view summary;
   std::unique_ptr<AnswerWriter> (*writer)(Output& output, PayloadOf payloadOf, const Op& op);
};

// The first is the default.
std::span<const AnswerFormat> answerFormats();

}  // namespace Rtrie
