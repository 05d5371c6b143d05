#include "tools/rtrie/AnswerFormat.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/TsvField.h"

namespace Rtrie {
namespace {

using Corenet::IpGenPrefix;

constexpr std::string_view noAnswer = "-";
constexpr std::string_view yesOrNo(bool yes) { return yes ? "yes" : "no"; }

template <bool hasPayload>
class TsvWriter final : public AnswerWriter {
  public:
   using AnswerWriter::AnswerWriter;

   void write(const IpGenPrefix& query, const Answer& answer) override {
      if (op_.kind == AnswerKind::yesNo) {
         line(query, yesOrNo(answer.yes), answer.yes && op_.isAboutQuery ? &query : nullptr);
         return;
      }
      if (answer.routes.empty()) {
         line(query, noAnswer, nullptr);
      }
      for (const IpGenPrefix& route : answer.routes) {
         line(query, route.stringValue(), &route);
      }
   }

  private:
   // route: the one whose payload it is, or null.
   void line(const IpGenPrefix& query, std::string_view answer, const IpGenPrefix* route) {
      output_.text(query.stringValue());
      output_.text("\t");
      output_.text(answer);
      if constexpr (hasPayload) {
         output_.text("\t");
         output_.text(route == nullptr ? "" : tsvField(payloadOf_(*route).value_or("")));
      }
      output_.text("\n");
      output_.lineDone();
   }
};

// Rows are held back so that a batch of them shares its columns; columns never get narrower.
class TextWriter final : public AnswerWriter {
  public:
   using AnswerWriter::AnswerWriter;

   void write(const IpGenPrefix& query, const Answer& answer) override {
      if (op_.kind == AnswerKind::yesNo) {
         const bool isRoute = answer.yes && op_.isAboutQuery;
         row(query, std::string(yesOrNo(answer.yes)), isRoute ? payload(query) : "");
      } else if (answer.routes.empty()) {
         row(query, std::string(noAnswer), "");
      }
      for (const IpGenPrefix& route : answer.routes) {
         row(query, std::string(route.stringValue()), payload(route));
      }
   }

   void flush() override {
      printRows();
      AnswerWriter::flush();
   }

  private:
   struct Row {
      std::string query;
      std::string answer;
      std::string_view payload;  // as payloadOf_ gives it
   };
   static constexpr std::size_t batchRows = 4096;

   std::string_view payload(const IpGenPrefix& route) const { return payloadOf_(route).value_or(""); }

   void row(const IpGenPrefix& query, std::string answer, std::string_view payload) {
      rows_.push_back({std::string(query.stringValue()), std::move(answer), payload});
      if (rows_.size() == batchRows) {
         printRows();
      }
   }

   void printRows() {
      for (const Row& row : rows_) {
         queryWidth_ = std::max(queryWidth_, row.query.size());
         answerWidth_ = std::max(answerWidth_, row.answer.size());
      }
      for (const Row& row : rows_) {
         if (row.payload.empty()) {
            output_.format("{:<{}}  {}\n", row.query, queryWidth_, row.answer);
         } else {
            output_.format("{:<{}}  {:<{}}  {}\n", row.query, queryWidth_, row.answer, answerWidth_, row.payload);
         }
         output_.lineDone();
      }
      rows_.clear();
   }

   std::vector<Row> rows_;
   std::size_t queryWidth_ = 0;
   std::size_t answerWidth_ = 0;
};

class JsonWriter final : public AnswerWriter {
  public:
   using AnswerWriter::AnswerWriter;

   void write(const IpGenPrefix& query, const Answer& answer) override {
      if (op_.kind == AnswerKind::yesNo) {
         const bool isRoute = answer.yes && op_.isAboutQuery;
         line(query, answer.yes, isRoute ? payload(query) : Json());
         return;
      }
      if (answer.routes.empty()) {
         line(query, nullptr, nullptr);
      }
      for (const IpGenPrefix& route : answer.routes) {
         line(query, std::string(route.stringValue()), payload(route));
      }
   }

  private:
   Json payload(const IpGenPrefix& route) const {
      const auto text = payloadOf_(route);
      return text ? Json(*text) : Json();
   }

   void line(const IpGenPrefix& query, Json answer, Json payload) {
      Json object;
      object["query"] = std::string(query.stringValue());
      object["answer"] = std::move(answer);
      object["payload"] = std::move(payload);
      jsonLine(output_, object);
   }
};

template <class Writer>
std::unique_ptr<AnswerWriter> make(Output& output, PayloadOf payloadOf, const Op& op) {
   return std::make_unique<Writer>(output, std::move(payloadOf), op);
}

constexpr AnswerFormat rows[] = {
   {"text", "aligned, with the payload", make<TextWriter>},
   {"tsv", "query, tab, answer", make<TsvWriter<false>>},
   {"tsv-payload", "query, tab, answer, tab, payload", make<TsvWriter<true>>},
   {"json", "one object a line: query, answer, payload", make<JsonWriter>},
};

}  // namespace

std::span<const AnswerFormat> answerFormats() { return rows; }

}  // namespace Rtrie
