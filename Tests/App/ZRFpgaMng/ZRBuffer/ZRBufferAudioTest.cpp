// Records of 24 channels, each with a signal of its own, through both directions at
// once: one writer and one reader thread per direction, reports in between.
#include <array>
#include <atomic>
#include <cstring>
#include <semaphore>
#include <thread>

#include <gtest/gtest.h>

#include "Support/LogCapture.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

#include <sys/uio.h>

#include "common/Types.h"

namespace {

constexpr int RECORDS = 2000;
constexpr int RING_RECORDS = 102400 / (4 + 2 + AUDIO_PAYLOAD_BYTES);

struct Record {
    ZR_U16 length = 0;
    std::array<ZR_S16, AUDIO_CHANNELS *AUDIO_PERIOD_FRAMES> samples = {};
    bool operator==(const Record &) const = default;
};

// A different ramp on every channel of every direction, from record to record on.
Record MakeRecord(int direct, int number) {
    Record record{AUDIO_PAYLOAD_BYTES, {}};
    for (int channel = 0; channel < AUDIO_CHANNELS; ++channel) {
        for (int frame = 0; frame < AUDIO_PERIOD_FRAMES; ++frame) {
            const int time = number * AUDIO_PERIOD_FRAMES + frame;
            const int value = time * (2 * channel + 3) + channel * 1021 + direct * 517;
            record.samples[static_cast<std::size_t>(channel * AUDIO_PERIOD_FRAMES + frame)] =
                static_cast<ZR_S16>(value);
        }
    }
    return record;
}

// The gather list of a record: length and payload.
std::array<struct iovec, 2> Pieces(Record &record) {
    return {{{&record.length, sizeof(record.length)}, {record.samples.data(), AUDIO_PAYLOAD_BYTES}}};
}

int WriteRecord(void *writer, Record record) {
    auto pieces = Pieces(record);
    return CZRBuffer::Write(writer, pieces.data(), 2);
}

// Passes RECORDS records through one direction; never more at once than the ring holds.
class Direction {
  public:
    explicit Direction(emDirect direct)
        : m_direct(direct), m_writer(CZRBuffer::instance()->GetBufferOpsHdl(direct, CZRBuffer::WR_ONLY)),
          m_reader(CZRBuffer::instance()->GetBufferOpsHdl(direct, CZRBuffer::RD_ONLY)) {}

    void Write() {
        for (int number = 0; number < RECORDS; ++number) {
            m_room.acquire();
            EXPECT_EQ(WriteRecord(m_writer, MakeRecord(m_direct, number)), 2 + AUDIO_PAYLOAD_BYTES);
        }
    }

    void Read() {
        for (int number = 0; number < RECORDS; ++number) {
            Record record;
            auto pieces = Pieces(record);
            EXPECT_EQ(CZRBuffer::Read(m_reader, pieces.data(), 2, 20000), 2 + AUDIO_PAYLOAD_BYTES);
            good += record == MakeRecord(m_direct, number);
            m_room.release();
        }
    }

    int Drops() {
        int drops = -1;
        CZRBuffer::BufferGetDrop(m_reader, &drops);
        return drops;
    }

    int good = 0;

  private:
    int m_direct;
    void *m_writer;
    void *m_reader;
    std::counting_semaphore<> m_room{RING_RECORDS};
};

} // namespace

class ZRBufferAudio : public testing::Test {
  protected:
    LogCapture log;
    CZRBuffer &buffer = *CZRBuffer::instance();

    void SetUp() override { ASSERT_EQ(buffer.Open(), 1); }
    void TearDown() override { buffer.Close(); }
};

TEST_F(ZRBufferAudio, EveryRecordOfBothDirectionsArrivesInOrderAndUnchanged) {
    Direction in(DIRECT_IN), out(DIRECT_OUT);
    std::atomic<bool> done{false};
    std::thread reports([&] {
        while (!done)
            buffer.printBufferMngInfo();
    });
    std::thread threads[] = {std::thread(&Direction::Write, &in), std::thread(&Direction::Read, &in),
                             std::thread(&Direction::Write, &out), std::thread(&Direction::Read, &out)};
    for (std::thread &thread : threads)
        thread.join();
    done = true;
    reports.join();
    EXPECT_EQ(in.good, RECORDS);
    EXPECT_EQ(out.good, RECORDS);
    EXPECT_EQ(in.Drops(), 0);
    EXPECT_EQ(out.Drops(), 0);
}

TEST_F(ZRBufferAudio, AReaderThatSleepsFindsTheNewestRecordsTheRingHolds) {
    void *writer = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY);
    void *reader = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY);
    constexpr int WRITTEN = 1000;
    for (int number = 0; number < WRITTEN; ++number)
        WriteRecord(writer, MakeRecord(DIRECT_IN, number));

    int count = 0, drops = 0;
    buffer.BufferCount(reader, &count);
    buffer.BufferGetDrop(reader, &drops);
    EXPECT_EQ(count, RING_RECORDS);
    EXPECT_EQ(drops, WRITTEN - RING_RECORDS);
    for (int number = WRITTEN - RING_RECORDS; number < WRITTEN; ++number) {
        Record record;
        auto pieces = Pieces(record);
        ASSERT_EQ(CZRBuffer::Read(reader, pieces.data(), 2, 0), 2 + AUDIO_PAYLOAD_BYTES);
        EXPECT_EQ(record, MakeRecord(DIRECT_IN, number)) << number;
    }
}
