// The real service as a second process on the stand-in card, its sockets and its log.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CardConfig.h"
#include "CardControl.h"
#include "Support/BusDaemon.h"
#include "Support/ChildProcess.h"
#include "Support/DatagramSocket.h"
#include "Support/LogCapture.h"
#include "Support/ScratchDir.h"

constexpr char TO_PEER[] = "/tmp/AudioStream_Fpga_to_Arm";
constexpr char FROM_PEER[] = "/tmp/AudioStream_Arm_to_Fpga";
constexpr char CONTROL[] = "/tmp/CtrlStream_Arm_to_Fpga";
constexpr char LOG_DIRECTORY[] = "/firmware/log/ZRFpgaMng";

class Service : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Starts a system bus for the service; without it there is none. Before Start.
    void StartBus();

    // Starts the service on a card set up as `config` says.
    void Start(CardConfig config = {}, ChildProcess::Environment environment = {},
               const std::vector<std::string> &arguments = {});

    // Starts it with the card's clock standing still and waits until every thread runs:
    // periods pass only when the test says so.
    void StartStopped(CardConfig config = {});

    // system.log of this run.
    std::vector<LogLine> Log() const;
    std::vector<std::string> LogTexts() const;
    bool WaitForLog(const std::string &levelAndText, int timeoutMs = 10000) const;
    int CountLog(const std::string &levelAndText) const;

    // The same for a piece of a line, wherever the rolling has taken it: for a service that logs
    // faster than its lines can be taken apart.
    bool WaitForRolledLog(const std::string &text, int timeoutMs = 30000) const;

    bool HasThread(const std::string &name) const;
    bool WaitForThread(const std::string &name) const;

    // Advances the card by one period and takes the message that comes of it.
    DatagramSocket::Bytes CaptureOne(DatagramSocket &peer);

    // Sends the payloads of periods 0 to 4: behind the silent one the card starts with them.
    void FillPlayback();

    // Sends `payload`, moves the card one period ahead and waits until it has taken it.
    // After FillPlayback: the card's buffer stays full, however slow the service is.
    void PlayOne(const DatagramSocket::Bytes &payload);
    // The same with a whole message.
    void PlayMessage(const DatagramSocket::Bytes &msg);

    // The words of period number `sequence` that the service wrote to the card.
    std::array<uint32_t, CARD_PERIOD_WORDS> Played(uint64_t sequence) const;

    // The message that carries card period `sequence` of the built-in signal.
    static DatagramSocket::Bytes ExpectedMessage(uint64_t firstFrame);

    // The words that `payload` becomes on the card.
    static std::array<uint32_t, CARD_PERIOD_WORDS> ExpectedWords(const DatagramSocket::Bytes &payload);

    // Open descriptors and resident memory (KB) of the service.
    int Descriptors() const;
    long ResidentKb() const;

    // Sends `signal` and waits for the end.
    ExitStatus Stop(int signal);

    ScratchDir m_directory;
    CardControl m_card;
    std::unique_ptr<BusDaemon> m_bus;
    std::unique_ptr<ChildProcess> m_service;
    DatagramSocket m_sender;
    std::size_t m_logStart = 0;
    uint64_t m_played = 0; // periods that PlayOne and FillPlayback have seen the card take
};
