// The two stream buffers between the PCM bridge and the network bridge: one named
// channel per direction with one reader and one writer handle that the bridges share.
// Opened by the main thread before the bridges start and closed after they stopped; in
// between one thread writes and one reads each channel.
#pragma once

#include <map>
#include <mutex>
#include <string>

#include "ZRFpgaMng/Include/FpgaMngDef.h"
#include "common/Singleton.h"

class CZRBuffer : public Singleton<CZRBuffer> {
  public:
    enum BufferMode {
        RD_ONLY = 0,
        WR_ONLY = 1,
        RW_MAX = 2,
    };

    // Channels of 102400 bytes.
    CZRBuffer();

    // Channels of `buffSize` bytes each.
    explicit CZRBuffer(int buffSize);
    ~CZRBuffer();

    CZRBuffer(const CZRBuffer &) = delete;
    CZRBuffer &operator=(const CZRBuffer &) = delete;

    // Makes the channels "fpga_0" (DIRECT_IN) and "fpga_1" (DIRECT_OUT) and opens their
    // four handles. 1, also when a handle could not be opened; 0 when a channel could not
    // be made, what was made before it stays.
    int Open();

    // Closes the handles and removes the channels; the names are kept. Only after both
    // bridges have stopped. Always 1.
    int Close();

    // The shared handle of a direction for a BufferMode. Where Open left none, a new
    // handle, which replaces the one kept for the slot. Null when there is no such
    // channel or mode. Any thread.
    void *GetBufferOpsHdl(_emDirect direct, int mode);

    // The following need no object. `handle` comes from GetBufferOpsHdl.

    // Stores `count` entries of the iovec array `vec` as one record; never waits, the
    // oldest records are dropped. Bytes written, -1 for a bad argument, -2 for null.
    static int Write(void *handle, void *vec, int count);

    // Takes the oldest record into the two entries of the iovec array `vec` (there must
    // be two, the second may have length 0); waits up to `timeout` ms. The record's
    // size, 0 when none came, -1 for a bad argument, -2 for null.
    static int Read(void *handle, void *vec, int count, int timeout);

    // Drops the `num` oldest records. 0, -1 for null, -2 for a writer handle.
    static int BufferDrop(void *handle, int num);

    // Stores the number of waiting records. 0, or -1 for null with `*count` as it was.
    static int BufferCount(void *handle, int *count);

    // Stores the number of records dropped since Open. 0, -1 for null, -2 for a writer handle.
    static int BufferGetDrop(void *handle, int *count);

    // Writes the state of the handle's channel to the log; nothing for a handle that is
    // not a reader. Always 0.
    static int BufferPrintHdlInfo(void *handle);

    // Writes handles, waiting records and ring state of both directions to the log. Any
    // thread.
    void printBufferMngInfo();

  private:
    using BufferMap = std::map<int, std::string>; // direction to channel name

    static void *_OpenHdl(const std::string &name, int mode);
    void _OpenDirect(int direct, const std::string &name);
    void *_KeepHdl(int direct, int mode, void *handle);
    bool _IsUsed(int direct, int mode) const;
    void _CloseHdl(int direct, int mode);

    int m_s32BuffSize;
    BufferMap m_PoolMap;
    std::mutex m_Mutex; // serialises Open, GetBufferOpsHdl and printBufferMngInfo
    void *m_parBufChanHdl[DIRECT_MAX][RW_MAX] = {};
    bool m_barBufChanUse[DIRECT_MAX][RW_MAX] = {}; // the slot holds the shared handle made by Open
};
