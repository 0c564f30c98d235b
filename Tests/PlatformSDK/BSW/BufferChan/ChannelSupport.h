// What the tests of the named channels share: an owned channel and owned handles.
#pragma once

#include <string>
#include <vector>

#include "BSW/BufferChan/ZRBufChan.h"

constexpr int RD = 2;
constexpr int WR = 4;

// A channel for the life of the object.
class Channel {
  public:
    explicit Channel(std::string name, int size = 1024) : m_name(std::move(name)) {
        m_made = zr_bufchan_mkfifo(m_name.c_str(), size) == 0;
    }
    ~Channel() {
        if (m_made)
            zr_bufchan_unlink(m_name.c_str());
    }
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;

    bool Made() const { return m_made; }
    const char *Name() const { return m_name.c_str(); }

  private:
    std::string m_name;
    bool m_made;
};

// A handle for the life of the object; converts to what the functions take.
class Handle {
  public:
    Handle(const char *name, int mode) : m_handle(zr_bufchan_open(name, mode)) {}
    ~Handle() { zr_bufchan_close(m_handle); }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;

    operator void *() const { return m_handle; }

  private:
    void *m_handle;
};

// Reads text of up to 64 bytes as a frame; "" for none, "error" for a refusal.
inline std::string ReadText(void *reader, int milliseconds) {
    char text[65] = {};
    const struct iovec iov[2] = {{text, 1}, {text + 1, 63}};
    const int ret = zr_bufchan_readv(reader, iov, 2, milliseconds);
    return ret < 0 ? "error" : std::string(text, static_cast<std::size_t>(ret));
}

inline int WriteText(void *writer, const std::string &text) {
    return zr_bufchan_write(writer, text.data(), static_cast<int>(text.size()));
}

inline int WriteEmptyFrame(void *writer) {
    const struct iovec iov = {nullptr, 0};
    return zr_bufchan_writev(writer, &iov, 1);
}

inline int WaitingFrames(void *handle) {
    int count = -77;
    zr_bufchan_getbuffercount(handle, &count);
    return count;
}
