#include "ServiceFixture.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include <signal.h>
#include <unistd.h>

#include "CardSignal.h"
#include "Support/WaitUntil.h"

namespace {

const std::string SYSTEM_LOG = std::string(LOG_DIRECTORY) + "/system.log";

ChildProcess::Environment::value_type Extended(const char *variable, const char *option) {
    const char *options = getenv(variable);
    return {variable, std::string(options ? options : "") + ":" + option};
}

} // namespace

void Service::SetUp() {
    m_logStart = ReadWholeFile(SYSTEM_LOG).size();
}

void Service::TearDown() {
    m_service.reset();
    for (const char *path : {FROM_PEER, CONTROL})
        unlink(path);
}

void Service::StartBus() {
    m_bus = std::make_unique<BusDaemon>();
}

void Service::Start(CardConfig config, ChildProcess::Environment environment,
                    const std::vector<std::string> &arguments) {
    const std::string alsaConfig = config.Write(m_directory.Path());
    ASSERT_FALSE(alsaConfig.empty());
    ASSERT_TRUE(m_card.Open(config.ControlPath()));
    environment.push_back({"ALSA_CONFIG_PATH", alsaConfig});
    environment.push_back(
        {"DBUS_SYSTEM_BUS_ADDRESS", m_bus ? m_bus->Address() : "unix:path=" + m_directory.Path() + "/no-bus"});
    // The service logs and allocates in its signal handler by design.
    environment.push_back(Extended("TSAN_OPTIONS", "report_signal_unsafe=0"));
    // What is freed is given back soon, so that a leak shows in the resident memory.
    environment.push_back(Extended("ASAN_OPTIONS", "quarantine_size_mb=1"));
    std::vector<std::string> command = {ZR_BINARY_DIR "/bin/ZRFpgaMng"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_service = std::make_unique<ChildProcess>("service", command, environment);
}

void Service::StartStopped(CardConfig config) {
    config.clockRunning = false;
    Start(config);
    for (const char *name : {"PcmWrite", "PcmRead", "NetSend", "NetRecv", "CZRIpc"})
        ASSERT_TRUE(WaitForThread(name)) << name << "\n" << m_service->Stderr();
    ASSERT_TRUE(m_card.WaitForRunning(CardSide::Capture, true, 10000));
}

std::vector<LogLine> Service::Log() const {
    const std::string content = ReadWholeFile(SYSTEM_LOG);
    return ParseLog(content.substr(std::min(m_logStart, content.size())));
}

std::vector<std::string> Service::LogTexts() const {
    std::vector<std::string> texts;
    for (const LogLine &line : Log())
        texts.push_back(std::string(1, line.level) + " " + line.text);
    return texts;
}

bool Service::WaitForLog(const std::string &levelAndText, int timeoutMs) const {
    return WaitUntil([&] { return CountLog(levelAndText) > 0; }, timeoutMs);
}

int Service::CountLog(const std::string &levelAndText) const {
    const auto texts = LogTexts();
    return static_cast<int>(std::count(texts.begin(), texts.end(), levelAndText));
}

bool Service::WaitForRolledLog(const std::string &text, int timeoutMs) const {
    // From the newest on: a file that is rolled meanwhile is met again under its next name.
    const auto isThere = [&] {
        for (int backup = 0; backup <= 10; ++backup) {
            const std::string path = SYSTEM_LOG + (backup ? "." + std::to_string(backup) : "");
            if (ReadWholeFile(path).find(text) != std::string::npos)
                return true;
        }
        return false;
    };
    return WaitUntil(isThere, timeoutMs);
}

bool Service::HasThread(const std::string &name) const {
    const auto names = m_service->ThreadNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool Service::WaitForThread(const std::string &name) const {
    return WaitUntil([&] { return HasThread(name); }, 10000);
}

DatagramSocket::Bytes Service::CaptureOne(DatagramSocket &peer) {
    EXPECT_TRUE(m_card.Advance(1));
    return peer.Receive(10000).value_or(DatagramSocket::Bytes());
}

void Service::FillPlayback() {
    for (unsigned period = 0; period < 5; ++period) { // the card starts once it holds six periods
        EXPECT_EQ(m_card.TapCount(CardSide::Playback), 0u);
        ASSERT_TRUE(m_sender.SendTo(FROM_PEER, message::Make(0, message::PlanarPayload(period))));
    }
    m_played = 6;
    ASSERT_TRUE(m_card.WaitForTap(CardSide::Playback, m_played, 10000));
    ASSERT_TRUE(m_card.WaitForRunning(CardSide::Playback, true, 10000));
}

void Service::PlayOne(const DatagramSocket::Bytes &payload) {
    PlayMessage(message::Make(0, payload));
}

void Service::PlayMessage(const DatagramSocket::Bytes &msg) {
    ASSERT_TRUE(m_sender.SendTo(FROM_PEER, msg));
    m_card.Advance(1); // makes room for one period
    ASSERT_TRUE(m_card.WaitForTap(CardSide::Playback, ++m_played, 10000));
}

std::array<uint32_t, CARD_PERIOD_WORDS> Service::Played(uint64_t sequence) const {
    TapPeriod period;
    EXPECT_EQ(m_card.ReadTap(CardSide::Playback, sequence, period), TapResult::Ready);
    return period.words;
}

DatagramSocket::Bytes Service::ExpectedMessage(uint64_t firstFrame) {
    constexpr std::array<uint8_t, 11> HEAD = {0xAA, 0xBB, 0, 0, 0x00, 0x06, 0, 0, 0, 0, 0x11};
    int16_t samples[CARD_PERIOD_WORDS];
    zr_card_planar(firstFrame, samples);
    DatagramSocket::Bytes msg(HEAD.size() + sizeof samples);
    std::copy(HEAD.begin(), HEAD.end(), msg.begin());
    std::memcpy(&msg[HEAD.size()], samples, sizeof samples);
    return msg;
}

std::array<uint32_t, CARD_PERIOD_WORDS> Service::ExpectedWords(const DatagramSocket::Bytes &payload) {
    std::array<uint32_t, CARD_PERIOD_WORDS> words;
    for (uint32_t frame = 0; frame < CARD_PERIOD_FRAMES; ++frame)
        for (uint32_t channel = 0; channel < CARD_CHANNELS; ++channel) {
            const std::size_t at = (channel * CARD_PERIOD_FRAMES + frame) * 2;
            words[frame * CARD_CHANNELS + channel] =
                (channel + 1) << 16 | static_cast<uint32_t>(payload[at + 1] << 8) | payload[at];
        }
    return words;
}

int Service::Descriptors() const {
    std::error_code error;
    const std::string directory = "/proc/" + std::to_string(m_service->Pid()) + "/fd";
    int count = 0;
    for (std::filesystem::directory_iterator fd(directory, error), end; fd != end; fd.increment(error))
        ++count;
    return count;
}

long Service::ResidentKb() const {
    std::ifstream status("/proc/" + std::to_string(m_service->Pid()) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:"))
            return std::atol(line.c_str() + 6);
    return 0;
}

ExitStatus Service::Stop(int signal) {
    m_service->Signal(signal);
    return m_service->Wait(20000);
}
