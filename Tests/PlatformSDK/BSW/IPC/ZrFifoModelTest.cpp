// The byte FIFO on a random walk, now and then past its contract, against a model that
// knows no pieces and no pointers.
#include <random>

#include <gtest/gtest.h>

#include "FifoSupport.h"

namespace {

// The same FIFO, byte by byte and by index.
struct Model {
    std::vector<unsigned char> storage;
    std::size_t r = 0, w = 0; // positions
    std::uint64_t rndx = 0, wndx = 0;

    void Write(const std::vector<unsigned char> &bytes) {
        for (const unsigned char byte : bytes) {
            storage[w] = byte;
            w = (w + 1) % storage.size();
        }
        wndx += bytes.size();
    }
    std::vector<unsigned char> Peek(std::size_t offset, std::size_t size) const {
        std::vector<unsigned char> bytes(size);
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = storage[(r + offset + i) % storage.size()];
        return bytes;
    }
    void Drain(std::size_t size) {
        r = (r + size) % storage.size();
        rndx += size;
    }
    void Grow(std::size_t newSize) {
        const std::vector<unsigned char> held = Peek(0, wndx - rndx);
        *this = Model{.storage = std::vector<unsigned char>(newSize)};
        Write(held);
    }
};

class ZrFifoModel : public testing::TestWithParam<unsigned> {
  protected:
    std::size_t _Upto(long long limit) {
        return static_cast<std::size_t>(std::uniform_int_distribution<long long>(0, std::max(limit, 0LL))(m_random));
    }
    // Within the contract, but now and then past it.
    std::size_t _Amount(int contract, std::size_t capacity) {
        return _Upto(20) == 0 ? _Upto(static_cast<long long>(3 * capacity)) : _Upto(contract);
    }
    void _Write();
    void _Read();
    void _Peek();
    void _Grow();
    void _Compare() const;

    std::mt19937 m_random{GetParam()};
    Model m_model;
    Fifo m_fifo;
};

void ZrFifoModel::_Write() {
    std::vector<unsigned char> bytes(_Amount(zr_fifo_space(m_fifo.get()), m_model.storage.size()));
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(m_random()); });
    const int size = static_cast<int>(bytes.size());
    if (_Upto(1) == 0) {
        EXPECT_EQ(zr_fifo_generic_write(m_fifo.get(), bytes.data(), size, nullptr), size);
    } else {
        Stream source{.text = std::string(bytes.begin(), bytes.end())};
        source.stopAfter = static_cast<int>(_Upto(size));
        bytes.resize(static_cast<std::size_t>(source.stopAfter));
        EXPECT_EQ(zr_fifo_generic_write(m_fifo.get(), &source, size, Stream::Source), static_cast<int>(bytes.size()));
    }
    m_model.Write(bytes);
}

void ZrFifoModel::_Read() {
    const std::size_t size = _Amount(zr_fifo_size(m_fifo.get()), m_model.storage.size());
    std::vector<unsigned char> bytes(size);
    if (_Upto(2) == 0) {
        zr_fifo_drain(m_fifo.get(), static_cast<int>(size));
    } else if (_Upto(1) == 0) {
        zr_fifo_generic_read(m_fifo.get(), bytes.data(), static_cast<int>(size), nullptr);
        EXPECT_EQ(bytes, m_model.Peek(0, size));
    } else {
        Stream sink;
        zr_fifo_generic_read(m_fifo.get(), &sink, static_cast<int>(size), Stream::Sink);
        EXPECT_EQ(std::vector<unsigned char>(sink.text.begin(), sink.text.end()), m_model.Peek(0, size));
    }
    m_model.Drain(size);
}

void ZrFifoModel::_Peek() {
    const std::size_t offset = _Upto(zr_fifo_size(m_fifo.get()));
    std::vector<unsigned char> bytes(_Amount(zr_fifo_size(m_fifo.get()), m_model.storage.size()));
    zr_fifo_generic_peek_at(m_fifo.get(), bytes.data(), static_cast<int>(offset), static_cast<int>(bytes.size()),
                            nullptr);
    EXPECT_EQ(bytes, m_model.Peek(offset, bytes.size()));
}

void ZrFifoModel::_Grow() {
    const int held = zr_fifo_size(m_fifo.get());
    const std::size_t capacity = m_model.storage.size();
    if (held < 0 || capacity > 300)
        return;
    const std::size_t more = _Upto(10);
    const std::size_t sum = static_cast<std::size_t>(held) + more;
    EXPECT_EQ(zr_fifo_grow(m_fifo.get(), static_cast<unsigned>(more)), 0);
    if (sum <= capacity)
        return;
    m_model.Grow(2 * sum);
    // What was never written is compared as well, so it has to be the same.
    std::copy(m_model.storage.begin() + held, m_model.storage.end(), m_fifo->buffer + held);
}

void ZrFifoModel::_Compare() const {
    ASSERT_EQ(static_cast<std::size_t>(Capacity(m_fifo)), m_model.storage.size());
    ASSERT_EQ(static_cast<std::size_t>(m_fifo->rptr - m_fifo->buffer), m_model.r);
    ASSERT_EQ(static_cast<std::size_t>(m_fifo->wptr - m_fifo->buffer), m_model.w);
    ASSERT_EQ(m_fifo->rndx, m_model.rndx);
    ASSERT_EQ(m_fifo->wndx, m_model.wndx);
}

} // namespace

TEST_P(ZrFifoModel, AgreesOnARandomWalk) {
    const std::size_t capacity = 1 + _Upto(40);
    m_fifo = Make(static_cast<unsigned>(capacity));
    m_model.storage.resize(capacity);
    std::copy(m_model.storage.begin(), m_model.storage.end(), m_fifo->buffer);
    for (int step = 0; step < 3000 && !HasFailure(); ++step) {
        switch (_Upto(15)) {
        case 0:
            _Grow();
            break;
        case 1:
        case 2:
        case 3:
            _Peek();
            break;
        case 4:
        case 5:
        case 6:
        case 7:
        case 8:
            _Read();
            break;
        default:
            _Write();
        }
        _Compare();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ZrFifoModel, testing::Range(1U, 21U));
