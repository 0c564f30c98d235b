// The fields are those that CardConfig writes.
#include "CardSettings.h"

#include <cstdlib>
#include <functional>
#include <memory>

namespace {

int Refuse(const std::string &id) {
    SNDERR("stand-in card: bad or unknown field %s", id.c_str());
    return -EINVAL;
}

int ReadText(snd_config_t *node, std::string &text) {
    char *ascii = nullptr;
    const int result = snd_config_get_ascii(node, &ascii);
    const std::unique_ptr<char, decltype(&free)> owner(ascii, free);
    if (result == 0)
        text = ascii;
    return result;
}

int ReadNumber(snd_config_t *node, uint32_t lowest, uint32_t highest, uint32_t &number) {
    long value = 0;
    if (snd_config_get_integer(node, &value) != 0 || value < static_cast<long>(lowest) ||
        value > static_cast<long>(highest))
        return -EINVAL;
    number = static_cast<uint32_t>(value);
    return 0;
}

// Calls `visit` with id and node of each field, until one gives an error.
int ForEachField(snd_config_t *conf, const std::function<int(const std::string &, snd_config_t *)> &visit) {
    if (snd_config_get_type(conf) != SND_CONFIG_TYPE_COMPOUND)
        return -EINVAL;
    snd_config_iterator_t i, next;
    snd_config_for_each(i, next, conf) {
        snd_config_t *node = snd_config_iterator_entry(i);
        const char *id = nullptr;
        if (snd_config_get_id(node, &id) < 0)
            continue;
        if (const int result = visit(id, node); result < 0)
            return result;
    }
    return 0;
}

} // namespace

int CardSettings::Read(snd_config_t *conf) {
    const int result = ForEachField(
        conf, [this](const std::string &id, snd_config_t *node) { return _ReadField(id, node) == 0 ? 0 : Refuse(id); });
    if (result < 0)
        return result;
    return minPeriods <= maxPeriods && !control.empty() ? 0 : Refuse("control, min_periods or max_periods");
}

int CardSettings::_ReadField(const std::string &id, snd_config_t *node) {
    if (id == "type" || id == "comment" || id == "hint" || id == "subdevice")
        return 0;
    if (id == "files")
        return _ReadFiles(node);
    if (id == "min_periods")
        return ReadNumber(node, 1, CARD_MAX_PERIODS, minPeriods);
    if (id == "max_periods")
        return ReadNumber(node, 1, CARD_MAX_PERIODS, maxPeriods);
    const std::map<std::string, std::string *> texts = {{"card", &card},
                                                        {"device", &device},
                                                        {"control", &control},
                                                        {"source_raw", &sourceRaw},
                                                        {"sink_directory", &sinkDirectory},
                                                        {"sink_raw", &sinkRaw}};
    const auto text = texts.find(id);
    return text == texts.end() ? -EINVAL : ReadText(node, *text->second);
}

int CardSettings::_ReadFiles(snd_config_t *node) {
    return ForEachField(node, [this](const std::string &id, snd_config_t *file) {
        char *end = nullptr;
        const unsigned long channel = std::strtoul(id.c_str(), &end, 10);
        if (*end || channel < 1 || channel > CARD_CHANNELS)
            return -EINVAL;
        return ReadText(file, sourceFiles[static_cast<uint32_t>(channel)]);
    });
}
