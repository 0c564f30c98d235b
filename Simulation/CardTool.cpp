// zrcard: the control of a running stand-in card for people. Main thread only.
// Wrong use and a file that is no control file: one line on stderr, exit status 2.
#include <cstdio>
#include <map>
#include <string>

#include <CLI/CLI.hpp>

#include "CardControl.h"

namespace {

constexpr int WRONG_USE = 2;

const std::map<std::string, CardSide> SIDES = {{"capture", CardSide::Capture}, {"playback", CardSide::Playback}};
const std::map<std::string, CardFault> FAULTS = {{"overrun", CardFault::Overrun}, {"underrun", CardFault::Underrun},
                                                 {"suspend", CardFault::Suspend}, {"short", CardFault::ShortTransfer},
                                                 {"again", CardFault::Again},     {"error", CardFault::HardError}};
const std::map<std::string, CardTags> TAGS = {{"normal", CardTags::Normal},
                                              {"zero", CardTags::Zero},
                                              {"twentyfive", CardTags::TwentyFive},
                                              {"repeated", CardTags::Repeated},
                                              {"rotated", CardTags::Rotated}};
const std::map<CardPresence, std::string> PRESENCE = {
    {CardPresence::Present, "present"}, {CardPresence::Missing, "missing"}, {CardPresence::Busy, "busy"}};

int Fail(const std::string &text) {
    std::fprintf(stderr, "zrcard: %s\n", text.substr(0, text.find('\n')).c_str());
    return WRONG_USE;
}

template <typename Value> std::string NameOf(const std::map<std::string, Value> &names, Value value) {
    for (const auto &[name, candidate] : names)
        if (candidate == value)
            return name;
    return "?";
}

void PrintSide(const char *name, const CardSideStatus &side) {
    std::printf("%-8s %s, %s, %llu periods, position %llu frames, %llu xruns, %llu starts, %llu discarded, "
                "%llu faults pending\n",
                name, side.open ? "open" : "closed", side.running ? "running" : "standing",
                static_cast<unsigned long long>(side.periods), static_cast<unsigned long long>(side.position),
                static_cast<unsigned long long>(side.xruns), static_cast<unsigned long long>(side.starts),
                static_cast<unsigned long long>(side.discarded), static_cast<unsigned long long>(side.faultsPending));
}

void PrintStatus(const CardStatus &status) {
    std::printf("card     %s, tags %s\n", PRESENCE.at(status.presence).c_str(), NameOf(TAGS, status.tags).c_str());
    std::printf("clock    %s, %g times real time, at %.3f s\n", status.clockRunning ? "running" : "standing",
                status.speed, static_cast<double>(status.cardNs) / 1e9);
    PrintSide("capture", status.Side(CardSide::Capture));
    PrintSide("playback", status.Side(CardSide::Playback));
}

// The command line and what its words stand for.
class Tool {
  public:
    Tool();
    int Run(int argc, char **argv);

  private:
    void _AddCreate();
    void _AddFault();
    void _AddTags();
    void _AddClock();
    // A command without arguments, or one whose arguments are added to the result.
    CLI::App *_Add(const char *name, const char *help, std::function<bool()> action);

    CLI::App m_app{"Controls a running stand-in card."};
    CardControl m_card;
    std::function<bool()> m_action;
    std::string m_file;
    bool m_create = false;
    CardSide m_side = CardSide::Capture;
    CardFault m_fault = CardFault::Overrun;
    CardTags m_tags = CardTags::Normal;
    uint32_t m_value = 0;
    uint32_t m_tagValue = CARD_TAGS_DEFAULT;
    uint32_t m_count = 1;
    uint32_t m_periods = 0;
    double m_speed = 1.0;
};

Tool::Tool() {
    m_app.add_option("FILE", m_file, "control file of the card (card.control)")->required();
    m_app.require_subcommand(1);
    _Add("status", "show the state of the card", [this] {
        PrintStatus(m_card.Status());
        return true;
    });
    _AddCreate();
    _AddFault();
    _AddTags();
    _AddClock();
    const std::map<std::string, CardPresence> presence = {
        {"plug", CardPresence::Present}, {"unplug", CardPresence::Missing}, {"busy", CardPresence::Busy}};
    for (const auto &[name, value] : presence)
        _Add(name.c_str(), "change whether the card can be opened", [this, value = value] {
            m_card.SetPresence(value);
            return true;
        });
}

CLI::App *Tool::_Add(const char *name, const char *help, std::function<bool()> action) {
    CLI::App *command = m_app.add_subcommand(name, help);
    command->callback([this, action = std::move(action)] { m_action = action; });
    return command;
}

void Tool::_AddCreate() {
    m_app.add_subcommand("create", "make the control file of a fresh card, in the place of an old one")
        ->callback([this] { m_create = true; });
}

void Tool::_AddFault() {
    CLI::App *fault = _Add("fault", "answer the next call of a side with a fault",
                           [this] { return m_card.Inject(m_side, m_fault, m_value, m_count); });
    fault->add_option("KIND", m_fault, "overrun, underrun, suspend, short, again, error")
        ->required()
        ->transform(CLI::CheckedTransformer(FAULTS));
    fault->add_option("SIDE", m_side, "capture, playback")->required()->transform(CLI::CheckedTransformer(SIDES));
    fault->add_option("--value", m_value, "short: frames; error: errno number");
    fault->add_option("--count", m_count, "number of calls");
}

void Tool::_AddTags() {
    CLI::App *tags = _Add("tags", "change the tags of captured periods", [this] {
        m_card.SetTags(m_tags, m_periods, m_tagValue);
        return true;
    });
    tags->add_option("KIND", m_tags, "normal, zero, twentyfive, repeated, rotated")
        ->required()
        ->transform(CLI::CheckedTransformer(TAGS));
    tags->add_option("--periods", m_periods, "number of periods (0: until changed)");
    tags->add_option("--value", m_tagValue, "zero, twentyfive: word; repeated: channel; rotated: places");
}

void Tool::_AddClock() {
    _Add("speed", "run the clock at N times real time", [this] { return m_card.SetSpeed(m_speed); })
        ->add_option("N", m_speed, "0.001 to 1000")
        ->required();
    _Add("stop", "stop the clock", [this] {
        m_card.StopClock();
        return true;
    });
    _Add("start", "start the clock", [this] {
        m_card.StartClock();
        return true;
    });
    _Add("advance", "move the stopped clock by N periods", [this] { return m_card.Advance(m_periods); })
        ->add_option("N", m_periods, "periods of 2 ms")
        ->required();
}

int Tool::Run(int argc, char **argv) {
    try {
        m_app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return error.get_exit_code() == 0 ? m_app.exit(error) : Fail(error.what());
    }
    if (m_create)
        return CardControl::Create(m_file) ? 0 : Fail(m_file + " cannot be made");
    if (!m_card.Open(m_file))
        return Fail(m_file + " is not the control file of a card");
    return m_action() ? 0 : Fail("the card cannot do that");
}

} // namespace

int main(int argc, char **argv) {
    return Tool().Run(argc, argv);
}
