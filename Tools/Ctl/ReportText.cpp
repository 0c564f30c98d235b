// See ReportText.h.
#include "Ctl/ReportText.h"

#include <cstdio>
#include <cstring>

#include <nlohmann/json.hpp>

#include "Ctl/ReportFields.h"

namespace {

using Json = nlohmann::ordered_json;

std::string RateText(const ReportField &field, std::int64_t difference, double seconds) {
    if (!field.isCounter || seconds <= 0)
        return "";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(difference) / seconds);
    return text;
}

std::string ChangeColumns(const ReportField &field, std::size_t index, const NodeChange &change) {
    const bool isKnown = !change.difference.empty();
    const std::string rate = isKnown ? RateText(field, change.difference[index], change.seconds) : "";
    char text[64];
    std::snprintf(text, sizeof text, " %+12lld %12s", isKnown ? static_cast<long long>(change.difference[index]) : 0LL,
                  rate.c_str());
    return text;
}

std::string Row(std::size_t index, const NodeReport &report, const NodeChange *change) {
    const ReportField &field = ReportFields()[index];
    char row[96];
    std::snprintf(row, sizeof row, "  %-36s %14lld", field.meaning, static_cast<long long>(report.values[index]));
    std::string line = row + (change ? ChangeColumns(field, index, *change) : "");
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

// An object of sections with `value` of every field for which `isWanted` holds.
template <typename Wanted, typename Value> Json Sections(Wanted isWanted, Value value) {
    Json sections = Json::object();
    const auto fields = ReportFields();
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (isWanted(fields[i]))
            sections[fields[i].section][fields[i].key] = value(i);
    return sections;
}

bool IsAny(const ReportField &) {
    return true;
}

bool HasRate(const ReportField &field) {
    return field.isCounter;
}

} // namespace

std::string ReportTable(const NodeReport &report, const NodeChange *change) {
    std::string table;
    const char *section = "";
    const auto fields = ReportFields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (std::strcmp(section, fields[i].section) != 0) {
            section = fields[i].section;
            char heading[96];
            std::snprintf(heading, sizeof heading, i == 0 && change ? "%-38s %14s %12s %12s\n" : "%s\n",
                          ReportHeading(section), "value", "difference", "per second");
            table += heading;
        }
        table += Row(i, report, change);
    }
    if (change && change->restarted)
        table += "The service began anew: no differences this time.\n";
    return table;
}

std::string ReportJson(const NodeReport &report, const NodeChange *change) {
    Json json = Sections(IsAny, [&](std::size_t i) { return report.values[i]; });
    if (change) {
        json["seconds"] = change->seconds;
        json["restarted"] = change->restarted;
    }
    if (change && !change->difference.empty()) {
        json["difference"] = Sections(IsAny, [&](std::size_t i) { return change->difference[i]; });
        if (change->seconds > 0)
            json["rate"] = Sections(
                HasRate, [&](std::size_t i) { return static_cast<double>(change->difference[i]) / change->seconds; });
    }
    return json.dump() + "\n";
}
