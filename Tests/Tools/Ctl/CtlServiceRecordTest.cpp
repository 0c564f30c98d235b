// zrctl record and the real service, with and without a peer.
#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>

#include "CtlServiceFixture.h"

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr std::uintmax_t SECOND_BYTES = 500 * RECORDED_FRAME_BYTES;

class CtlServiceRecord : public CtlService {
  protected:
    // The service with the card's clock at real time.
    void StartRunning() {
        StartOnBus();
        m_card.StartClock();
    }
};

TEST_F(CtlServiceRecord, WithoutAPeerThePlaybackStaysEmpty) {
    RecordingDirectory directory;
    StartRunning();
    const CtlEnd end = Zrctl({"record", "1"});
    ASSERT_EQ(end.status, 0) << end.errors;
    EXPECT_THAT(end.output, HasSubstr("] capture 1.0 of 1 s, playback 0.0 of 1 s\nplayback: empty, no peer sends\n"));
    const std::string capture = directory.Recordings("PcmRd").at(0);
    EXPECT_THAT(end.output,
                HasSubstr("\ncapture:  " + capture + "\nplayback: " + directory.Recordings("PcmWr").at(0) + "\n"));
    EXPECT_EQ(std::filesystem::file_size(capture), SECOND_BYTES);
    // Channel 23 of the card's signal counts every 65536 frames: it is still 0.
    EXPECT_THAT(Zrctl({"levels", capture}).output, HasSubstr("Silent channels: 23\n"));

    const CtlEnd second = Zrctl({"record", "1"}); // the playback is still open
    EXPECT_EQ(second.status, 9);
    EXPECT_EQ(second.errors, "zrctl: refused: a recording is already running\n");
}

TEST_F(CtlServiceRecord, WithAPeerBothFilesAreWhole) {
    RecordingDirectory directory;
    StartRunning();
    DatagramSocket peer(TO_PEER);
    const auto tool = StartZrctl({"record", "1"});
    unsigned number = 0;
    while (tool->IsRunning() && peer.Receive(10000)) // the card's pace
        m_sender.SendTo(FROM_PEER, message::Make(0, message::PlanarPayload(number++)));
    const CtlEnd end = EndOf(*tool);
    ASSERT_EQ(end.status, 0) << end.errors;
    EXPECT_THAT(end.output, HasSubstr("playback 1.0 of 1 s\n"));
    EXPECT_EQ(end.output.find("grows only"), std::string::npos);
    EXPECT_EQ(std::filesystem::file_size(directory.Recordings("PcmRd").at(0)), SECOND_BYTES);
    EXPECT_EQ(std::filesystem::file_size(directory.Recordings("PcmWr").at(0)), SECOND_BYTES);
}

TEST_F(CtlServiceRecord, NoDirectoryForRecordings) {
    const RecordingDirectory directory(false);
    StartRunning();
    const CtlEnd refused = Zrctl({"record", "1"});
    EXPECT_EQ(refused.status, 8);
    EXPECT_EQ(refused.errors, "zrctl: no directory for recordings: /firmware/audio\n");
    EXPECT_EQ(CountLog("D Record AudioStream 1Sec"), 0);
    // Where zrctl looks at another directory the service's own words tell.
    const CtlEnd failed = Zrctl({"record", "1", "--audio-dir", "."});
    EXPECT_EQ(failed.status, 8);
    EXPECT_THAT(failed.errors, MatchesRegex("zrctl: the service cannot record: [^\n]*No such file or directory\n"));
}

TEST_F(CtlServiceRecord, AStandingCardStallsIt) {
    RecordingDirectory directory;
    StartOnBus(); // the card's clock stands still
    const CtlEnd end = Zrctl({"record", "1"});
    EXPECT_EQ(end.status, 12);
    EXPECT_THAT(end.errors, MatchesRegex("zrctl: the capture recording no longer grows[^\n]*\n"));
}

TEST_F(CtlServiceRecord, InterruptingEndsTheWatchingOnly) {
    RecordingDirectory directory;
    StartRunning();
    const auto tool = StartZrctl({"record", "2"});
    ASSERT_TRUE(WaitUntil([&] { return tool->Stdout().find("capture") != std::string::npos; }, 20000));
    tool->Signal(SIGINT);
    EXPECT_EQ(EndOf(*tool).status, 130);
    EXPECT_TRUE(WaitUntil(
        [&] { return std::filesystem::file_size(directory.Recordings("PcmRd").at(0)) == 2 * SECOND_BYTES; }, 20000));
}

} // namespace
