// Waiting for readiness and IPv4 connections.
#include "BSW/IPC/zr_socket_connect.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <sys/select.h>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

namespace {

using Clock = std::chrono::steady_clock;

// Descriptors up to a highest one. A single fd_set ends at FD_SETSIZE; the system takes a row
// of them as one long set.
class DescriptorSet {
  public:
    DescriptorSet(const ZR_S32 *descriptors, ZR_S32 count)
        : m_highest(*std::max_element(descriptors, descriptors + count)),
          m_sets(static_cast<std::size_t>(m_highest / FD_SETSIZE + 1)) {
        for (ZR_S32 i = 0; i < count; ++i)
            FD_SET(descriptors[i] % FD_SETSIZE, &_SetOf(descriptors[i]));
    }

    bool Has(int descriptor) { return FD_ISSET(descriptor % FD_SETSIZE, &_SetOf(descriptor)); }

    // One select on the set, which keeps those that are ready.
    int Select(SELECT_TYPE_E type, timeval *timeout) {
        fd_set *set = m_sets.data();
        return select(m_highest + 1, type == EM_SELECT_READ ? set : nullptr, type == EM_SELECT_WRITE ? set : nullptr,
                      type == EM_SELECT_EXCEPT ? set : nullptr, timeout);
    }

  private:
    fd_set &_SetOf(int descriptor) { return m_sets[static_cast<std::size_t>(descriptor / FD_SETSIZE)]; }

    int m_highest;
    std::vector<fd_set> m_sets;
};

// Milliseconds from now; a negative number never passes.
class Deadline {
  public:
    explicit Deadline(ZR_S32 milliseconds) {
        if (milliseconds >= 0)
            m_end = Clock::now() + std::chrono::milliseconds(milliseconds);
    }

    // What is left as select takes it (null: no end), in `storage`.
    timeval *Left(timeval &storage) const {
        if (!m_end)
            return nullptr;
        const auto left = std::chrono::ceil<std::chrono::microseconds>(*m_end - Clock::now());
        const auto microseconds = std::max<std::int64_t>(left.count(), 0);
        storage = {microseconds / 1000000, microseconds % 1000000};
        return &storage;
    }

  private:
    std::optional<Clock::time_point> m_end;
};

bool AllOpen(const ZR_S32 *descriptors, ZR_S32 count) {
    return std::all_of(descriptors, descriptors + count, [](ZR_S32 one) { return fcntl(one, F_GETFD) >= 0; });
}

// Waits for the end of a connection that is on its way. 0, or its error.
int AwaitConnection(int handle, ZR_S32 timeoutMs) {
    ZR_S32 ready = 0;
    const ZR_S32 count = zr_select(&handle, 1, EM_SELECT_WRITE, timeoutMs, &ready);
    if (count <= 0)
        return count < 0 ? errno : ETIMEDOUT;
    int error = 0;
    socklen_t length = sizeof(error);
    return getsockopt(handle, SOL_SOCKET, SO_ERROR, &error, &length) < 0 ? errno : error;
}

// An interrupted connect goes on by itself. 0, or its error.
int Connect(int handle, const sockaddr_in &address, ZR_S32 timeoutMs) {
    if (connect(handle, Generic(address), sizeof(address)) == 0)
        return 0;
    return errno == EINPROGRESS || errno == EINTR ? AwaitConnection(handle, timeoutMs) : errno;
}

} // namespace

ZR_S32 zr_select(ZR_S32 *sock, ZR_S32 len, SELECT_TYPE_E type, ZR_S32 timeout, ZR_S32 *flag) {
    const bool known = type == EM_SELECT_READ || type == EM_SELECT_WRITE || type == EM_SELECT_EXCEPT;
    if (!sock || len <= 0 || !known || !flag) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    // The system overlooks what is beyond its table of descriptors.
    if (!AllOpen(sock, len)) {
        LOG_ERR("select of a bad socket, errno = %d!", errno);
        return -1;
    }
    const Deadline deadline(timeout);
    const DescriptorSet all(sock, len);
    DescriptorSet ready = all;
    const int result = Uninterrupted([&] {
        timeval left;
        ready = all;
        return ready.Select(type, deadline.Left(left));
    });
    if (result < 0) {
        LOG_ERR("select failure, errno = %d!", errno);
        return -1;
    }
    std::transform(sock, sock + len, flag, [&](ZR_S32 one) { return ready.Has(one) ? 1 : 0; });
    return static_cast<ZR_S32>(std::count(flag, flag + len, 1));
}

ZR_S32 zr_noblock_connect(ZR_S32 handle, const ZR_S8 *szDst, ZR_U16 u16Port, ZR_S32 nMiSec) {
    sockaddr_in address;
    if (!MakeIpAddress(szDst, u16Port, address)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const int flags = fcntl(handle, F_GETFL);
    if (flags < 0 || fcntl(handle, F_SETFL, flags | O_NONBLOCK) < 0) {
        LOG_ERR("set non-blocking failure, errno = %d!", errno);
        return -1;
    }
    const int error = Connect(handle, address, nMiSec);
    fcntl(handle, F_SETFL, flags);
    if (error != 0) {
        errno = error;
        LOG_ERR("connect failure, errno = %d!", error);
        return -1;
    }
    return 0;
}

ZR_S32 zr_block_connect(ZR_S32 handle, const ZR_S8 *szDst, ZR_U16 u16Port) {
    sockaddr_in address;
    if (!MakeIpAddress(szDst, u16Port, address)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    if (const int error = Connect(handle, address, -1); error != 0) {
        errno = error;
        LOG_ERR("connect failure, errno = %d!", error);
        return -1;
    }
    return 0;
}
