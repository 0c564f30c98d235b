// The node report: its lines, its table, its JSON and what changed in it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Ctl/NodeReport.h"
#include "Ctl/ReportFields.h"
#include "Ctl/ReportText.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// A whole report in which every number is another one: 1, 2, 3, ...
std::vector<std::string> ReportOf() {
    std::vector<std::string> lines;
    int number = 0;
    for (const ReportLine &line : ReportLines()) {
        lines.emplace_back();
        for (const char *c = line.shape; *c; ++c)
            lines.back() += *c == '#'   ? std::to_string(++number)
                            : *c == '~' ? std::string("0x55d0")
                                        : std::string(1, *c);
    }
    return lines;
}

NodeReport Collected() {
    NodeReportCollector collector;
    std::optional<NodeReport> report;
    for (const std::string &line : ReportOf())
        report = collector.Add(line);
    return report.value_or(NodeReport());
}

std::size_t IndexOf(const std::string &section, const std::string &key) {
    const auto fields = ReportFields();
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (fields[i].section == section && fields[i].key == key)
            return i;
    return fields.size();
}

TEST(CtlReport, MatchesALine) {
    std::vector<std::int64_t> numbers;
    EXPECT_TRUE(MatchReportLine("  wptr:~\twcnt:#", "  wptr:0x7f00\twcnt:12", numbers));
    EXPECT_THAT(numbers, ElementsAre(12));
    numbers.clear();
    EXPECT_TRUE(MatchReportLine("a #us ~ (#)", "a -5us (nil) (6)", numbers));
    EXPECT_THAT(numbers, ElementsAre(-5, 6));
    for (const char *wrong :
         {"", "  wptr:0x7f00\twcnt:", "  wptr:0x7f00\twcnt:1x", "  wptr:\twcnt:1", " wptr:0\twcnt:1"})
        EXPECT_FALSE(MatchReportLine("  wptr:~\twcnt:#", wrong, numbers)) << wrong;
}

TEST(CtlReport, EveryNumberHasItsField) {
    const NodeReport report = Collected();
    ASSERT_EQ(report.values.size(), ReportFields().size());
    for (std::size_t i = 0; i < report.values.size(); ++i)
        EXPECT_EQ(report.values[i], static_cast<std::int64_t>(i) + 1) << ReportFields()[i].key;
}

TEST(CtlReport, OtherLinesMayStandBetween) {
    NodeReportCollector collector;
    std::optional<NodeReport> report;
    for (const std::string &line : ReportOf()) {
        EXPECT_FALSE(collector.Add("write error,ret=-1"));
        report = collector.Add(line);
    }
    EXPECT_TRUE(report);
}

TEST(CtlReport, ABeginningThatWasMissedGivesNone) {
    const auto lines = ReportOf();
    NodeReportCollector collector;
    for (std::size_t i = 5; i < lines.size(); ++i)
        EXPECT_FALSE(collector.Add(lines[i]));
    for (std::size_t i = 0; i + 1 < lines.size(); ++i)
        EXPECT_FALSE(collector.Add(lines[i]));
    EXPECT_TRUE(collector.Add(lines.back()));
}

TEST(CtlReport, ComparesCounters) {
    const NodeReport before = Collected();
    NodeReport now = before;
    now.values[IndexOf("net_send", "sent")] += 1000;
    now.values[IndexOf("pcm", "difference")] -= 3; // no counter: it may fall
    const NodeChange change = CompareReports(before, now, 2);
    EXPECT_FALSE(change.restarted);
    EXPECT_EQ(change.difference[IndexOf("net_send", "sent")], 1000);
    EXPECT_EQ(change.difference[IndexOf("pcm", "difference")], -3);
    EXPECT_TRUE(CompareReports(now, before, 2).restarted);
    EXPECT_TRUE(CompareReports(now, before, 2).difference.empty());
}

TEST(CtlReport, TableShowsRatesAndDifferences) {
    const NodeReport before = Collected();
    NodeReport now = before;
    now.values[IndexOf("net_send", "sent")] += 1001;
    const NodeChange change = CompareReports(before, now, 2);
    EXPECT_THAT(ReportTable(now, &change),
                HasSubstr("  messages sent                                  1025        +1001        500.5\n"));
    EXPECT_THAT(ReportTable(before, nullptr), HasSubstr("  messages sent                                    24\n"));
    EXPECT_THAT(ReportTable(before, nullptr), Not(HasSubstr("per second")));
    const NodeChange restart = CompareReports(now, before, 2);
    EXPECT_THAT(ReportTable(before, &restart), HasSubstr("began anew"));
}

TEST(CtlReport, JsonHoldsEverySection) {
    const NodeReport before = Collected();
    NodeReport now = before;
    now.values[IndexOf("pcm_read", "captured")] += 500;
    const NodeChange change = CompareReports(before, now, 2);
    const std::string text = ReportJson(now, &change);
    EXPECT_EQ(text.find('\n'), text.size() - 1);
    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json["buffer_in"]["reader_in_use"], 1);
    EXPECT_EQ(json["buffer_out"]["dropped"], 22);
    EXPECT_EQ(json["pcm_read"]["captured"], 530);
    EXPECT_EQ(json["difference"]["pcm_read"]["captured"], 500);
    EXPECT_EQ(json["rate"]["pcm_read"]["captured"], 250.0);
    EXPECT_FALSE(json["rate"].contains("pcm")); // no counters there
    EXPECT_FALSE(nlohmann::json::parse(ReportJson(before, nullptr)).contains("rate"));
}

} // namespace
