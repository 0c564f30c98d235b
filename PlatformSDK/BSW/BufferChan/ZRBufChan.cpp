// The named channels: a process-wide list under one lock, a ring under a lock of its
// own per channel; the two locks are never held together. Runs on the caller's thread.
#include "BSW/BufferChan/ZRBufChan.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/time.h>

static AVPool *rnode_pool = nullptr;
static pthread_mutex_t lockpool = PTHREAD_MUTEX_INITIALIZER;

namespace {

class ScopedLock {
  public:
    explicit ScopedLock(pthread_mutex_t &mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~ScopedLock() { pthread_mutex_unlock(&m_mutex); }
    ScopedLock(const ScopedLock &) = delete;
    ScopedLock &operator=(const ScopedLock &) = delete;

  private:
    pthread_mutex_t &m_mutex;
};

} // namespace

static bool _zr_av_pool_name_ok(const char *name) {
    return name && name[0] != '\0';
}

static AVPool *_zr_av_pool_find_internal(const char *name) {
    AVPool *pool = rnode_pool;
    while (pool && strncmp(pool->name, name, ZR_BUFCHAN_NAME_BYTES) != 0)
        pool = pool->next;
    return pool;
}

static AVPool *av_pool_find(const char *name) {
    ScopedLock guard(lockpool);
    return _zr_av_pool_find_internal(name);
}

// A channel that is not yet in the list. `name` is kept over at most 128 bytes.
static void _zr_av_pool_init(AVPool *pool, AVFifo *fifo, const char *name) {
    pool->fifo = fifo;
    pthread_cond_init(&pool->cond, nullptr);
    pthread_mutex_init(&pool->lock, nullptr);
    std::memcpy(pool->name, name, strnlen(name, ZR_BUFCHAN_NAME_BYTES));
}

static void _zr_av_pool_free(AVPool *pool) {
    zr_av_fifo_destroy(pool->fifo);
    pthread_cond_destroy(&pool->cond);
    pthread_mutex_destroy(&pool->lock);
    std::free(pool);
}

// Takes the entry out of the list; null for an unknown name. Under `lockpool`.
static AVPool *_zr_av_pool_remove(const char *name) {
    AVPool *pool = _zr_av_pool_find_internal(name);
    if (!pool)
        return nullptr;
    AVPool **link = &rnode_pool;
    while (*link != pool)
        link = &(*link)->next;
    *link = pool->next;
    return pool;
}

// The handle's record when it is a handle of that type with a channel, else null.
static AVPoolCtx *_zr_bufchan_ctx(void *handle, int type) {
    auto *ctx = static_cast<AVPoolCtx *>(handle);
    return ctx && ctx->type == type && ctx->pool ? ctx : nullptr;
}

// The point `milliseconds` from now on the realtime clock, on which conditions wait.
static int time_after(struct timespec *tp, int milliseconds) {
    struct timeval now;
    gettimeofday(&now, nullptr);
    tp->tv_sec = now.tv_sec + milliseconds / 1000;
    tp->tv_nsec = now.tv_usec * 1000L + (milliseconds % 1000) * 1000000L;
    if (tp->tv_nsec > 999999999L) {
        tp->tv_nsec -= 1000000000L;
        ++tp->tv_sec;
    }
    return 0;
}

// Waits for a write until `tp`; 0 when that has passed, else 1. Under the channel's lock.
static int wait_readable(AVPool *p, struct timespec *tp) {
    int ret;
    do
        ret = pthread_cond_timedwait(&p->cond, &p->lock, tp);
    while (ret == EINTR);
    return ret == ETIMEDOUT ? 0 : 1;
}

// Sets the handle up for its side of the channel. False for a mode that is neither.
static bool _zr_bufchan_set_mode(AVPoolCtx *ctx, int mode) {
    ScopedLock guard(ctx->pool->lock);
    switch (mode) {
    case ZR_BUFCHAN_RD:
        ctx->type = ZR_BUFCHAN_TYPE_READER;
        zr_av_fifo_read_init(ctx->pool->fifo);
        return true;
    case ZR_BUFCHAN_WR:
        ctx->type = ZR_BUFCHAN_TYPE_WRITER;
        return true;
    default:
        return false;
    }
}

int zr_bufchan_mkfifo(const char *name, int size) {
    if (!_zr_av_pool_name_ok(name) || size == 0)
        return -1;
    pthread_mutex_lock(&lockpool);
    auto *pool = _zr_av_pool_find_internal(name) ? nullptr : static_cast<AVPool *>(std::calloc(1, sizeof(AVPool)));
    if (!pool) {
        pthread_mutex_unlock(&lockpool);
        return -1;
    }
    AVFifo *fifo = zr_av_fifo_create(size);
    if (!fifo) {
        std::free(pool);
        return -1; // the list stays locked for good
    }
    _zr_av_pool_init(pool, fifo, name);
    pool->next = rnode_pool;
    rnode_pool = pool;
    pthread_mutex_unlock(&lockpool);
    return 0;
}

int zr_bufchan_unlink(const char *name) {
    if (!_zr_av_pool_name_ok(name))
        return -1;
    pthread_mutex_lock(&lockpool);
    AVPool *pool = _zr_av_pool_remove(name);
    pthread_mutex_unlock(&lockpool);
    if (!pool)
        return -1;
    _zr_av_pool_free(pool);
    return 0;
}

void *zr_bufchan_open(const char *name, int mode) {
    if (!_zr_av_pool_name_ok(name))
        return nullptr;
    auto *ctx = static_cast<AVPoolCtx *>(std::calloc(1, sizeof(AVPoolCtx)));
    if (!ctx)
        return nullptr;
    ctx->pool = av_pool_find(name);
    if (!ctx->pool || !_zr_bufchan_set_mode(ctx, mode)) {
        std::free(ctx);
        return nullptr;
    }
    return ctx;
}

int zr_bufchan_close(void *handle) {
    if (!handle)
        return -1;
    std::free(handle);
    return 0;
}

int zr_bufchan_reset(void *handle) {
    const AVPoolCtx *writer = _zr_bufchan_ctx(handle, ZR_BUFCHAN_TYPE_WRITER);
    const AVPoolCtx *ctx = writer ? writer : _zr_bufchan_ctx(handle, ZR_BUFCHAN_TYPE_READER);
    if (!ctx)
        return -1;
    ScopedLock guard(ctx->pool->lock);
    return writer ? zr_av_fifo_write_init(ctx->pool->fifo) : zr_av_fifo_read_init(ctx->pool->fifo);
}

int zr_bufchan_writev(void *handle, const struct iovec *iov, int iovcnt) {
    const AVPoolCtx *ctx = _zr_bufchan_ctx(handle, ZR_BUFCHAN_TYPE_WRITER);
    if (!ctx || !iov || iovcnt == 0)
        return -1;
    ScopedLock guard(ctx->pool->lock);
    const int ret = zr_av_fifo_writev(ctx->pool->fifo, iov, iovcnt);
    if (ret > 0)
        pthread_cond_broadcast(&ctx->pool->cond);
    return ret;
}

int zr_bufchan_write(void *handle, const void *buf, int nbyte) {
    if (!handle || !buf || nbyte <= 0)
        return -1;
    const struct iovec iov = {const_cast<void *>(buf), static_cast<std::size_t>(nbyte)};
    return zr_bufchan_writev(handle, &iov, 1);
}

int zr_bufchan_readv(void *handle, const struct iovec *iov, int iovcnt, int milliseconds) {
    const AVPoolCtx *ctx = _zr_bufchan_ctx(handle, ZR_BUFCHAN_TYPE_READER);
    if (!ctx || !iov || iovcnt == 0)
        return -1;
    struct timespec deadline = {};
    if (milliseconds > 0)
        time_after(&deadline, milliseconds);

    ScopedLock guard(ctx->pool->lock);
    for (;;) {
        const int ret = zr_av_fifo_readv(ctx->pool->fifo, iov, iovcnt);
        if (ret != 0)
            return ret;
        // An empty frame was "none" as well: a frame behind it waits for the next wake-up.
        if (milliseconds <= 0 || !wait_readable(ctx->pool, &deadline))
            return 0;
    }
}

int zr_bufchan_read(void *handle, void *buf, int nbyte, int milliseconds) {
    if (!handle || !buf || nbyte <= 0)
        return -1;
    const struct iovec iov[2] = {{buf, static_cast<std::size_t>(nbyte)}, {nullptr, 0}};
    return zr_bufchan_readv(handle, iov, 1, milliseconds);
}

// Checks neither the handle nor its type.
int zr_bufchan_getbuffercount(void *handle, int *count) {
    const auto *ctx = static_cast<AVPoolCtx *>(handle);
    ScopedLock guard(ctx->pool->lock);
    *count = zr_av_fifo_get_framecnt(ctx->pool->fifo);
    return 0;
}

int zr_bufchan_getdrop(void *handle, int *count) {
    const AVPoolCtx *ctx = _zr_bufchan_ctx(handle, ZR_BUFCHAN_TYPE_READER);
    if (!ctx)
        return -2;
    ScopedLock guard(ctx->pool->lock);
    *count = zr_av_fifo_get_drop(ctx->pool->fifo);
    return 0;
}

int zr_bufchan_drop(void *handle, int num) {
    const AVPoolCtx *ctx = _zr_bufchan_ctx(handle, ZR_BUFCHAN_TYPE_READER);
    if (!ctx)
        return -2;
    ScopedLock guard(ctx->pool->lock);
    for (int i = 0; i < num; ++i)
        zr_av_fifo_drop(ctx->pool->fifo);
    return 0;
}

int zr_bufchan_get_run_info(void *handle) {
    const AVPoolCtx *ctx = _zr_bufchan_ctx(handle, ZR_BUFCHAN_TYPE_READER);
    if (!ctx)
        return -2;
    ScopedLock guard(ctx->pool->lock);
    zr_av_fifo_log(ctx->pool->fifo, handle);
    return 0;
}
