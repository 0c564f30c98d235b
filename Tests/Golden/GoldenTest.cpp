// The bytes that leave the service, against vectors made from the layouts by a program of
// their own (make_vectors.py): the same on every machine that the service is built for.
#include <array>
#include <string>

#include <gtest/gtest.h>
#include <sys/uio.h>

#include "RecordingDirectory.h"
#include "ServiceFixture.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "ZRFpgaMng/AudioPcmMng/PcmConvert.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

namespace {

constexpr std::size_t PERIODS = 4;
constexpr std::size_t RECORD_BYTES = 1538;
constexpr int FRAMES = CARD_PERIOD_FRAMES;

// A file of golden vectors, and its part for one period.
std::string Golden(const std::string &name) {
    const std::string content = ReadWholeFile(ZR_GOLDEN_DIR "/" + name);
    EXPECT_NE(content, "") << name;
    return content;
}

std::string Golden(const std::string &name, std::size_t period) {
    const std::string content = Golden(name);
    const std::size_t size = content.size() / PERIODS;
    return content.substr(period * size, size);
}

const std::uint8_t *Bytes(const std::string &text) {
    return reinterpret_cast<const std::uint8_t *>(text.data());
}

std::string Text(const void *bytes, std::size_t size) {
    return std::string(static_cast<const char *>(bytes), size);
}

std::string Text(const DatagramSocket::Bytes &bytes) {
    return Text(bytes.data(), bytes.size());
}

DatagramSocket::Bytes Datagram(const std::string &text) {
    return DatagramSocket::Bytes(text.begin(), text.end());
}

} // namespace

TEST(Golden, ACapturedPeriodBecomesPlanar) {
    for (std::size_t period = 0; period < PERIODS; ++period) {
        std::array<std::uint8_t, CARD_PERIOD_BYTES> planar{}; // the conversion may use a whole period
        ASSERT_EQ(TaggedToPlanar(Bytes(Golden("card.bin", period)), planar.data(), FRAMES), 1536);
        EXPECT_EQ(Text(planar.data(), 1536), Golden("planar.bin", period)) << period;
    }
}

TEST(Golden, APlanarPayloadBecomesACardPeriod) {
    for (std::size_t period = 0; period < PERIODS; ++period) {
        std::array<std::uint8_t, CARD_PERIOD_BYTES> card{};
        ASSERT_EQ(PlanarToTagged(Bytes(Golden("planar.bin", period)), card.data(), FRAMES), 3072);
        EXPECT_EQ(Text(card.data(), card.size()), Golden("card.bin", period)) << period;
    }
}

TEST(Golden, AStreamRecordIsLengthAndPayload) {
    const LogCapture log;
    CZRBuffer *const buffer = CZRBuffer::instance();
    ASSERT_EQ(buffer->Open(), 1);
    std::uint16_t length = 1536;
    std::string payload = Golden("planar.bin", 1);
    iovec written[] = {{&length, sizeof length}, {payload.data(), payload.size()}};
    ASSERT_EQ(buffer->Write(buffer->GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY), written, 2), RECORD_BYTES);

    std::string record(RECORD_BYTES, '\0');
    iovec whole[] = {{record.data(), record.size()}, {nullptr, 0}};
    ASSERT_EQ(buffer->Read(buffer->GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY), whole, 2, 0), RECORD_BYTES);
    EXPECT_EQ(record, Golden("records.bin", 1));
    buffer->Close();
}

TEST(Golden, ARecordingIsInterleaved) {
    const LogCapture log;
    const RecordingDirectory recordings;
    AudioPcm::instance()->SaveAudioToFile(1);
    std::string expected;
    for (std::size_t frame = 0; frame < 500; ++frame) {
        const std::string planar = Golden("planar.bin", frame % PERIODS);
        ASSERT_EQ(AudioPcm::instance()->_CheckRecordAudio(Bytes(planar), 1536, DIRECT_IN), 1) << frame;
        expected += Golden("recording.pcm", frame % PERIODS);
    }
    EXPECT_EQ(recordings.Content("PcmRd"), expected);
}

// The service itself, between the card and the sockets.
class GoldenService : public Service {
  protected:
    void StartWithGoldenCapture() {
        CardConfig config;
        config.captureRaw = ZR_GOLDEN_DIR "/card.bin";
        StartStopped(config);
    }

    std::string PlayedBytes(std::uint64_t sequence) const {
        const auto words = Played(sequence);
        return Text(words.data(), sizeof words);
    }
};

TEST_F(GoldenService, SendsWhatTheCardCaptured) {
    StartWithGoldenCapture();
    DatagramSocket peer(TO_PEER);
    for (std::size_t period = 0; period < PERIODS; ++period)
        EXPECT_EQ(Text(CaptureOne(peer)), Golden("messages-to-peer.bin", period)) << period;
}

TEST_F(GoldenService, PlaysWhatAPeerSent) {
    StartStopped();
    FillPlayback();
    for (std::size_t period = 0; period < PERIODS; ++period)
        PlayMessage(Datagram(Golden("messages-from-peer.bin", period)));
    for (std::size_t period = 0; period < PERIODS; ++period)
        EXPECT_EQ(PlayedBytes(6 + period), Golden("card.bin", period)) << period;
}
