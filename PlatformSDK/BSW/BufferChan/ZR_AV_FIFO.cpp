// The frame ring: positions and counters over one block. Runs on the thread of
// whoever owns the ring, under the owner's lock.
#include "BSW/BufferChan/ZR_AV_FIFO.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "BSW/Log/Log.h"

static constexpr UINT32 HEADER_BYTES = sizeof(AVFrame);

static void _zr_av_fifo_count(volatile ZR_U64 &counter) {
    counter = counter + 1;
}

// `p` moved on by `n` bytes. A header may be stale, so that `n` can be anything: the
// result stays in the data area.
static ZR_U8 *_zr_av_fifo_seek_ptr(AVFifo *fifo, const ZR_U8 *p, ZR_U64 n) {
    const ZR_U64 bufsiz = static_cast<ZR_U64>(fifo->bufsiz);
    ZR_U64 offset = static_cast<ZR_U64>(p - fifo->buffer) + n;
    if (offset >= bufsiz)
        offset -= bufsiz;
    if (offset >= bufsiz)
        offset = bufsiz ? offset % bufsiz : 0;
    return fifo->buffer + offset;
}

// Bytes of all entries, summed so that no length can wrap; -1 above what an int holds.
static int _zr_av_fifo_iovec_size(const struct iovec *iov, int iovcnt) {
    ZR_U64 total = 0;
    for (int i = 0; i < iovcnt; ++i) {
        if (iov[i].iov_len > INT_MAX - total)
            return -1;
        total += iov[i].iov_len;
    }
    return static_cast<int>(total);
}

static int _zr_av_fifo_data_size(const AVFifo *fifo) {
    const auto distance = static_cast<int>(fifo->wptr - fifo->rptr);
    return distance >= 0 ? distance : fifo->bufsiz + distance;
}

static int _zr_av_fifo_free_size(const AVFifo *fifo) {
    return fifo->bufsiz - _zr_av_fifo_data_size(fifo);
}

static bool _zr_av_fifo_cur_valid(const AVFifo *fifo) {
    return fifo->rcnt <= fifo->cur && fifo->cur <= fifo->wcnt;
}

// Copies `size` bytes out of the ring from `src` on. A ring without a data area gives none.
static UINT32 _zr_av_fifo_read_internal(const AVFifo *fifo, void *dst, const ZR_U8 *src, UINT32 size) {
    auto *to = static_cast<ZR_U8 *>(dst);
    for (UINT32 left = size; left > 0 && fifo->bufsiz > 0;) {
        const auto chunk = std::min<UINT32>(left, static_cast<UINT32>(fifo->bufend - src));
        std::memcpy(to, src, chunk);
        to += chunk;
        left -= chunk;
        src = src + chunk == fifo->bufend ? fifo->buffer : src + chunk;
    }
    return size;
}

// Copies `size` bytes into the ring from `dst` on; they fit the data area.
static UINT32 _zr_av_fifo_write_internal(AVFifo *fifo, ZR_U8 *dst, const void *src, UINT32 size) {
    const auto *from = static_cast<const ZR_U8 *>(src);
    for (UINT32 left = size; left > 0;) {
        const auto chunk = std::min<UINT32>(left, static_cast<UINT32>(fifo->bufend - dst));
        std::memcpy(dst, from, chunk);
        from += chunk;
        left -= chunk;
        dst = dst + chunk == fifo->bufend ? fifo->buffer : dst + chunk;
    }
    return size;
}

// Writes at the write position and moves it on.
static void _zr_av_fifo_put(AVFifo *fifo, const void *src, UINT32 size) {
    fifo->wptr = _zr_av_fifo_seek_ptr(fifo, fifo->wptr, _zr_av_fifo_write_internal(fifo, fifo->wptr, src, size));
}

// Reads at the reader's cursor and moves it, and the oldest position with it, on.
static void _zr_av_fifo_take(AVFifo *fifo, void *dst, UINT32 size) {
    fifo->fptr = _zr_av_fifo_seek_ptr(fifo, fifo->fptr, _zr_av_fifo_read_internal(fifo, dst, fifo->fptr, size));
    fifo->rptr = fifo->fptr;
}

// The reader continues with the oldest frame held.
static void _zr_av_fifo_resync(AVFifo *fifo) {
    fifo->fptr = fifo->rptr;
    fifo->cur = fifo->rcnt;
}

// Does not look whether a frame is held: an empty ring drops what its stale bytes say.
static int _zr_av_fifo_drop(AVFifo *fifo) {
    AVFrame frame = {};
    _zr_av_fifo_read_internal(fifo, &frame, fifo->rptr, HEADER_BYTES);
    fifo->rptr = _zr_av_fifo_seek_ptr(fifo, fifo->rptr, ZR_U64{frame.size} + HEADER_BYTES);
    _zr_av_fifo_count(fifo->rcnt);
    _zr_av_fifo_resync(fifo);
    _zr_av_fifo_count(fifo->dropCnt);
    _zr_av_fifo_count(fifo->dropAllCnt);
    return 0;
}

// Drops until `needsize` bytes are free. Stale headers can lead round in a circle; by
// as many drops as there are positions one has come twice, and the ring is emptied.
static void _zr_av_fifo_make_room(AVFifo *fifo, ZR_S64 needsize) {
    for (ZR_S32 drops = 0; _zr_av_fifo_free_size(fifo) < needsize; ++drops) {
        if (drops == fifo->bufsiz) {
            fifo->rptr = fifo->wptr;
            fifo->fptr = fifo->rptr;
            return;
        }
        _zr_av_fifo_drop(fifo);
    }
}

// Fills the two entries from a frame of `size` bytes whose header has been taken.
static void _zr_av_fifo_scatter(AVFifo *fifo, const struct iovec *iov, UINT32 size) {
    const auto first = static_cast<UINT32>(std::min<ZR_U64>(iov[0].iov_len, size));
    _zr_av_fifo_take(fifo, iov[0].iov_base, first);

    const auto left = static_cast<ZR_S32>(size - static_cast<UINT32>(iov[0].iov_len));
    if (left > 0 && static_cast<ZR_U64>(left) <= iov[1].iov_len)
        _zr_av_fifo_take(fifo, iov[1].iov_base, static_cast<UINT32>(left));
    else // also when the whole frame fitted the first entry
        printf("left:%d great than iov[%d].iov_len:%lu\n", left, 1, static_cast<unsigned long>(iov[1].iov_len));
}

AVFifo *zr_av_fifo_create(int size) {
    if (size < 0)
        return nullptr;
    auto *fifo = static_cast<AVFifo *>(std::calloc(1, sizeof(AVFifo) + static_cast<std::size_t>(size)));
    if (!fifo)
        return nullptr;
    fifo->bufsiz = size;
    fifo->bufend = fifo->buffer + size;
    fifo->wptr = fifo->buffer;
    fifo->rptr = fifo->buffer;
    return fifo;
}

int zr_av_fifo_destroy(AVFifo *fifo) {
    std::free(fifo);
    return 0;
}

int zr_av_fifo_writev(AVFifo *fifo, const struct iovec *iov, int iovcnt) {
    const int datsiz = _zr_av_fifo_iovec_size(iov, iovcnt);
    if (datsiz < 0)
        return -1;
    const ZR_S64 needsize = ZR_S64{datsiz} + HEADER_BYTES;
    if (needsize > fifo->bufsiz)
        return -1;

    _zr_av_fifo_make_room(fifo, needsize);
    const AVFrame frame = {static_cast<UINT32>(datsiz)};
    _zr_av_fifo_put(fifo, &frame, HEADER_BYTES);
    for (int i = 0; i < iovcnt; ++i)
        _zr_av_fifo_put(fifo, iov[i].iov_base, static_cast<UINT32>(iov[i].iov_len));
    _zr_av_fifo_count(fifo->wcnt);
    return datsiz;
}

int zr_av_fifo_write(AVFifo *fifo, const void *data, UINT32 size) {
    const struct iovec iov = {const_cast<void *>(data), size};
    return zr_av_fifo_writev(fifo, &iov, 1);
}

// Two entries are used whatever `iovcnt` says.
int zr_av_fifo_readv(AVFifo *fifo, const struct iovec *iov, int /*iovcnt*/) {
    if (zr_av_fifo_get_framecnt(fifo) == 0)
        return 0;
    if (fifo->fptr != fifo->rptr) {
        _zr_av_fifo_resync(fifo);
        fifo->dropCnt = 0;
    }

    AVFrame frame = {};
    _zr_av_fifo_take(fifo, &frame, HEADER_BYTES);
    _zr_av_fifo_scatter(fifo, iov, frame.size);
    _zr_av_fifo_count(fifo->cur);
    _zr_av_fifo_count(fifo->rcnt);
    return static_cast<int>(frame.size);
}

int zr_av_fifo_read(AVFifo *fifo, void *data, int size) {
    const struct iovec iov[2] = {{data, static_cast<std::size_t>(std::max(size, 0))}, {nullptr, 0}};
    return zr_av_fifo_readv(fifo, iov, 1);
}

int zr_av_fifo_get_framecnt(AVFifo *fifo) {
    if (!_zr_av_fifo_cur_valid(fifo))
        _zr_av_fifo_resync(fifo);
    return fifo->cur == fifo->wcnt ? 0 : static_cast<int>(fifo->wcnt - fifo->cur);
}

int zr_av_fifo_get_drop(AVFifo *fifo) {
    return static_cast<int>(fifo->dropAllCnt);
}

int zr_av_fifo_drop(AVFifo *fifo) {
    return _zr_av_fifo_drop(fifo);
}

int zr_av_fifo_write_init(AVFifo *fifo) {
    fifo->wptr = fifo->rptr;
    fifo->wcnt = fifo->rcnt;
    return 0;
}

int zr_av_fifo_read_init(AVFifo *fifo) {
    fifo->cur = fifo->wcnt;
    fifo->fptr = fifo->wptr;
    return 0;
}

// One line of the dump, as LOG_DBG writes it but with a line number of its own: the
// numbers are part of the text that tools look for.
#define FIFO_HEAD "[D][%s:%4d] \033[0;32m"
#define FIFO_LOG(line, fmt, ...)                                                                                       \
    do {                                                                                                               \
        CLog *const log = CLog::instance();                                                                            \
        log->Debug(LOG_LEVEL_DBG, FIFO_HEAD fmt "\033[0m", LogBaseName(__FILE__), line, __VA_ARGS__);                  \
        log->System(FIFO_HEAD fmt "\033[0m", LogBaseName(__FILE__), line, __VA_ARGS__);                                \
    } while (0)

void zr_av_fifo_log(AVFifo *fifo, void *pUser) {
    using Count = unsigned long long;
    FIFO_LOG(267, "++++++++ RingBuferr UserHdl:%p fifo:%p  info ++++++++", pUser, static_cast<void *>(fifo));
    FIFO_LOG(268, "  wptr:%p\twcnt:%llu", static_cast<void *>(fifo->wptr), static_cast<Count>(fifo->wcnt));
    FIFO_LOG(269, "  rptr:%p\trcnt:%llu", static_cast<void *>(fifo->rptr), static_cast<Count>(fifo->rcnt));
    FIFO_LOG(270, "  fptr:%p\tcur:%llu", static_cast<void *>(fifo->fptr), static_cast<Count>(fifo->cur));
    FIFO_LOG(271, "  data_size:%d\ttotal_size:%d", _zr_av_fifo_data_size(fifo), fifo->bufsiz);
    FIFO_LOG(272, "  dropCnt:%llu\tdropAllCnt:%llu", static_cast<Count>(fifo->dropCnt),
             static_cast<Count>(fifo->dropAllCnt));
}
