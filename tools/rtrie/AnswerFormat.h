// AnswerFormat: how answers are printed, by name.
//
//    text   for people: columns for the query, the answer and the payload
//    tsv    QUERY<TAB>ANSWER, "-" for no answer, "yes" or "no"; an op with many answers has a line for each
//    json   one object a line: query, answer (null for none; true or false), payload (null if there is no route)
//
// To add a format, give it a row in AnswerFormat.cpp. Tested by tests/tools/rtrie/AnswerFormatTest.cpp.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "platform/Corenet.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/RouteSet.h"

namespace Rtrie {

// Prints the answers of one op. The output and the routes must outlive it.
class AnswerWriter {
  public:
   AnswerWriter(Output& output, const RouteSet& routes, const Op& op) : output_(output), routes_(routes), op_(op) {}
   AnswerWriter(const AnswerWriter&) = delete;
   AnswerWriter& operator=(const AnswerWriter&) = delete;
   virtual ~AnswerWriter() = default;

   virtual void write(const Corenet::IpGenPrefix& query, const Answer& answer) = 0;

   // Prints what is held back, and flushes the output.
   virtual void flush() { output_.flush(); }

  protected:
   Output& output_;
   const RouteSet& routes_;
   const Op& op_;
};

struct AnswerFormat {
   std::string_view name;
   std::string_view summary;
   std::unique_ptr<AnswerWriter> (*writer)(Output& output, const RouteSet& routes, const Op& op);
};

// The first is the default.
std::span<const AnswerFormat> answerFormats();

}  // namespace Rtrie
