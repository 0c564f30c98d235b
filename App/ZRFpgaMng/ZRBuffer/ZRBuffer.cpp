// Names, makes and hands out the two stream buffer channels and forwards reads, writes
// and queries to them. Runs on the threads of both bridges.
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

#include <cstdio>
#include <cstring>

#include "BSW/BufferChan/ZRBufChan.h"
#include "BSW/Log/Log.h"

static constexpr int DEFAULT_BUFF_SIZE = 102400; // 66 records

// Handles that Close has not closed stay with the process: whoever got one may still use it.
[[gnu::used]] static void *leftToTheProcess[DIRECT_MAX][CZRBuffer::RW_MAX];

CZRBuffer::CZRBuffer() : CZRBuffer(DEFAULT_BUFF_SIZE) {}

CZRBuffer::CZRBuffer(int buffSize) : m_s32BuffSize(buffSize) {}

CZRBuffer::~CZRBuffer() {
    m_s32BuffSize = 0;
    std::memcpy(leftToTheProcess, m_parBufChanHdl, sizeof(leftToTheProcess));
}

int CZRBuffer::Open() {
    std::lock_guard<std::mutex> guard(m_Mutex);
    for (int direct = DIRECT_IN; direct < DIRECT_MAX; ++direct) {
        char name[32];
        snprintf(name, sizeof(name), "fpga_%d", direct);
        if (zr_bufchan_mkfifo(name, m_s32BuffSize) == -1) {
            LOG_ERR("zr_bufchan_mkfifo[%s] failure", name);
            return 0;
        }
        LOG_DBG("bufchan open: direct:%d name:%s, size:%dbytes", direct, name, m_s32BuffSize);
        m_PoolMap[direct] = name;
        _OpenDirect(direct, name);
    }
    LOG_DBG("Open all buffer chan");
    return 1;
}

// Opens both handles of a direction; the slots count as used whether or not that succeeds.
void CZRBuffer::_OpenDirect(int direct, const std::string &name) {
    for (int mode = RD_ONLY; mode < RW_MAX; ++mode) {
        m_barBufChanUse[direct][mode] = true;
        m_parBufChanHdl[direct][mode] = nullptr;
    }
    for (int mode = RD_ONLY; mode < RW_MAX; ++mode)
        _KeepHdl(direct, mode, _OpenHdl(name, mode));
}

void *CZRBuffer::_OpenHdl(const std::string &name, int mode) {
    switch (mode) {
    case RD_ONLY:
        LOG_DBG("[RD_ONLY] buff name: %s", name.c_str());
        return zr_bufchan_open(name.c_str(), ZR_BUFCHAN_RD);
    case WR_ONLY:
        LOG_DBG("[WR_ONLY] buff name: %s", name.c_str());
        return zr_bufchan_open(name.c_str(), ZR_BUFCHAN_WR);
    default:
        LOG_ERR("bad mode!!!!!");
        return nullptr;
    }
}

// A handle that is not null comes from a named direction and one of the two modes.
void *CZRBuffer::_KeepHdl(int direct, int mode, void *handle) {
    if (handle)
        m_parBufChanHdl[direct][mode] = handle;
    else
        LOG_ERR("get buffer failure!!!");
    return handle;
}

// A slot that does not exist is not in use.
bool CZRBuffer::_IsUsed(int direct, int mode) const {
    return direct >= 0 && direct < DIRECT_MAX && mode >= 0 && mode < RW_MAX && m_barBufChanUse[direct][mode];
}

void *CZRBuffer::GetBufferOpsHdl(_emDirect direct, int mode) {
    std::lock_guard<std::mutex> guard(m_Mutex);
    LOG_DBG("Get direct:%d, mode:%d", direct, mode);
    if (_IsUsed(direct, mode)) { // the ordinary case, warning included: the bridges share the handles
        LOG_WRN("Warning, direct %u mode %d BufChanHdl is used", direct, mode);
        return m_parBufChanHdl[direct][mode];
    }
    const auto name = m_PoolMap.find(direct);
    return _KeepHdl(direct, mode, name == m_PoolMap.end() ? nullptr : _OpenHdl(name->second, mode));
}

void CZRBuffer::_CloseHdl(int direct, int mode) {
    if (!m_parBufChanHdl[direct][mode])
        return;
    zr_bufchan_close(m_parBufChanHdl[direct][mode]);
    m_parBufChanHdl[direct][mode] = nullptr;
    m_barBufChanUse[direct][mode] = false;
}

int CZRBuffer::Close() {
    for (int direct = DIRECT_IN; direct < DIRECT_MAX; ++direct)
        for (int mode = RD_ONLY; mode < RW_MAX; ++mode)
            _CloseHdl(direct, mode);
    for (const auto &[direct, name] : m_PoolMap)
        zr_bufchan_unlink(name.c_str());
    LOG_DBG("Close all buffer chan");
    return 1;
}

int CZRBuffer::Write(void *handle, void *vec, int count) {
    if (!handle) {
        LOG_ERR("bad handle!!!");
        return -2;
    }
    return zr_bufchan_writev(handle, static_cast<struct iovec *>(vec), count);
}

int CZRBuffer::Read(void *handle, void *vec, int count, int timeout) {
    if (!handle) {
        LOG_ERR("bad handle!!!");
        return -2;
    }
    return zr_bufchan_readv(handle, static_cast<struct iovec *>(vec), count, timeout);
}

int CZRBuffer::BufferDrop(void *handle, int num) {
    if (!handle) {
        LOG_ERR("bad handle");
        return -1;
    }
    return zr_bufchan_drop(handle, num);
}

int CZRBuffer::BufferCount(void *handle, int *count) {
    if (!handle) {
        LOG_ERR("bad handle");
        return -1;
    }
    return zr_bufchan_getbuffercount(handle, count);
}

int CZRBuffer::BufferGetDrop(void *handle, int *count) {
    if (!handle) {
        LOG_ERR("bad handle");
        return -1;
    }
    return zr_bufchan_getdrop(handle, count);
}

int CZRBuffer::BufferPrintHdlInfo(void *handle) {
    zr_bufchan_get_run_info(handle);
    return 0;
}

void CZRBuffer::printBufferMngInfo() {
    std::lock_guard<std::mutex> guard(m_Mutex);
    int rdCount = 0; // a failing count keeps the value of the direction before
    int wrCount = 0;
    for (int direct = DIRECT_IN; direct < DIRECT_MAX; ++direct) {
        void *const *hdl = m_parBufChanHdl[direct];
        const bool *used = m_barBufChanUse[direct];
        BufferCount(hdl[RD_ONLY], &rdCount);
        BufferCount(hdl[WR_ONLY], &wrCount);
        LOG_DBG("MODULE: direct %d (RdHdl:%p bUsed:%d count:%d WrHdl:%p bUsed:%d, count:%d)", direct, hdl[RD_ONLY],
                used[RD_ONLY], rdCount, hdl[WR_ONLY], used[WR_ONLY], wrCount);
        BufferPrintHdlInfo(hdl[RD_ONLY]);
    }
}
