#include "tools/rtrie/AnswerFormat.h"

#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <vector>

#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/NextHops.h"
#include "tools/rtrie/Rows.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

using Corenet::IpGenPrefix;

constexpr std::string_view noAnswer = "-";
constexpr std::string_view yesOrNo(bool yes) { return yes ? "yes" : "no"; }

template <RowForm form, bool hasPayload>
class RowWriter final : public AnswerWriter {
  public:
   RowWriter(Output& output, PayloadOf payloadOf, const Op& op) : AnswerWriter(output, std::move(payloadOf), op) {
      rowNames(output, form, {"query", "answer", "payload"});
   }

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
      if constexpr (hasPayload) {
         const auto payload = route == nullptr ? std::nullopt : payloadOf_(*route);
         row(output_, form, {query.stringValue(), answer, payload.value_or("")});
      } else {
         row(output_, form, {query.stringValue(), answer});
      }
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

   static void payloadIs(Json& object, const Json& payload) {
      object["payload"] = payload;
      if (payload.is_string()) {
         if (const auto hops = nextHopsOf(payload.get_ref<const std::string&>()); !hops.empty()) {
            for (const NextHop& hop : hops) {
               object["nexthops"].push_back(nextHopJson(hop));
            }
         }
      }
   }

   // Spelled as `ip -j` spells it.
   static Json nextHopJson(const NextHop& hop) {
      Json object = Json::object();
      if (!hop.encap.empty()) {
         object["encap"] = std::string(hop.encap);
      }
      if (!hop.gateway.empty()) {
         object["gateway"] = std::string(hop.gateway);
      }
      if (!hop.device.empty()) {
         object["dev"] = std::string(hop.device);
      }
      object["weight"] = hop.weight;
      object["flags"] = Json::array();
      for (const auto flag : hop.flags) {
         object["flags"].push_back(std::string(flag));
      }
      return object;
   }

   // {"payload": .., "chosen": .., "answers": ..} and who offers it: "peer", "as", "path_id" or "table", "metric".
   static Json candidateJson(const Candidate& candidate) {
      Json object = Json::object();
      payloadIs(object, std::string(candidate.payload));
      auto source = candidate.source;
      if (candidate.choice == Choice::asPath) {
         object["peer"] = std::string(takeWord(source));
         object["as"] = numberOrText(takeWord(source));
         if (const auto pathId = takeWord(source); !pathId.empty()) {
            object["path_id"] = numberOrText(pathId);
         }
      } else if (candidate.choice == Choice::metric) {
         if (!source.empty()) {
            object["table"] = std::string(source);
         }
         object["metric"] = metricOfRank(candidate.rank);
      }
      object["chosen"] = candidate.chosen;
      object["answers"] = candidate.answers;
      return object;
   }

   static Json numberOrText(std::string_view text) {
      U32 number = 0;
      const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
      return error == std::errc{} && end == text.data() + text.size() ? Json(number) : Json(std::string(text));
   }

   void line(const IpGenPrefix& query, Json answer, const Json& payload) {
      Json object;
      object["query"] = std::string(query.stringValue());
      object["answer"] = std::move(answer);
      payloadIs(object, payload);
      if (candidatesOf_) {
         object["candidates"] = Json::array();
         for (const Candidate& candidate : candidatesOf_(query)) {
            object["candidates"].push_back(candidateJson(candidate));
         }
      }
      jsonLine(output_, object);
   }
};

template <class Writer>
std::unique_ptr<AnswerWriter> make(Output& output, PayloadOf payloadOf, const Op& op) {
   return std::make_unique<Writer>(output, std::move(payloadOf), op);
}

constexpr AnswerFormat answerFormatRows[] = {
   {"text", "aligned, with the payload", make<TextWriter>},
   {"tsv", "query, tab, answer", make<RowWriter<RowForm::tsv, false>>},
   {"tsv-payload", "query, tab, answer, tab, payload", make<RowWriter<RowForm::tsv, true>>},
   {"csv", "query, answer and payload with commas between, and their names first",
    make<RowWriter<RowForm::csv, true>>},
   {"json", "one object a line: query, answer, payload; with --op exact, all candidates", make<JsonWriter>, true},
};

}  // namespace

std::span<const AnswerFormat> answerFormats() { return answerFormatRows; }

}  // namespace Rtrie
