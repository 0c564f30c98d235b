// The network bridge: moves audio between the stream buffers and the peers' socket
// files, and takes control datagrams.
//
//   DIRECT_IN  -> "NetSend" -> /tmp/AudioStream_Fpga_to_Arm (bound by the peer)
//   DIRECT_OUT <- "NetRecv" <- /tmp/AudioStream_Arm_to_Fpga (bound here)
//   log        <- "CZRIpc"  <- /tmp/CtrlStream_Arm_to_Fpga  (bound here)
//
// Init and UnInit belong to the main thread; PrintNodeInfo may be called from any.
#pragma once

#include <cstdint>
#include <thread>

#include "AudioStreamIpcDef.h"
#include "BSW/IPC/ZRIpc.h"
#include "ZRFpgaMng/Include/FpgaMngDef.h"
#include "common/Singleton.h"

class AudioNet : public Singleton<AudioNet> {
    friend class Singleton<AudioNet>;

  public:
    // Takes the stream buffer handles, opens the three endpoints and starts both
    // threads. True also when already initialised. False leaves in place what was
    // already made. Needs CZRBuffer::Open.
    bool Init();

    // Joins both threads, then releases the endpoints. The threads end only with the
    // process, so while they run this does not return.
    void UnInit();

    // Logs the six counters.
    void PrintNodeInfo();

    // Checks a message: its command (0, 1, 2 or whatever the peer put there), or, with
    // one error line, -1 for null, -2 for a wrong start mark, -3 for a sender other
    // than the audio stream module, -4 for a wrong check byte. Any thread.
    static int _CheckIpcMsgXOR(const stModIpcMsg *pstMsg);

    // Takes one control datagram of `nDataLen` bytes; `pUser` is the AudioNet instance.
    // 0 logged, -1 null argument, -2 wrong size, -3 not a control or debug message.
    // Runs on the control endpoint's thread.
    static int _CtrlMsgProcessCallBack(void *pData, int nDataLen, void *pUser);

    // Thread bodies "NetSend" and "NetRecv". They never return.
    void AudioNetSendThread();
    void AudioNetRecvThread();

  private:
    AudioNet();
    virtual ~AudioNet();

    bool _TakeBufferHandles();
    bool _OpenEndpoints();
    bool _StartThreads();
    void _SendOneRecord(void *handle, stModIpcMsg &msg);
    void _WriteOneRecord(void *handle, stModIpcMsg &msg);

    bool m_bInit = false;
    void *m_BufferHdlMap[DIRECT_MAX] = {}; // DIRECT_IN: reader, DIRECT_OUT: writer
    CZRIpc *m_pCZRIpcSendStream = nullptr;
    CZRIpc *m_pCZRIpcRecvStream = nullptr;
    CZRIpc *m_pCZRIpcCtrlProcess = nullptr;
    std::thread m_ptIpcSend;
    std::thread m_ptIpcRecv;
    uint64_t m_u64RdBfCnt = 0;   // records read from DIRECT_IN
    uint64_t m_u64WrBfCnt = 0;   // records written to DIRECT_OUT
    uint64_t m_u64SndSucCnt = 0; // datagrams sent
    uint64_t m_u64SndErrCnt = 0; // failed sends
    uint64_t m_u64RcvSucCnt = 0; // valid audio messages received
    uint64_t m_u64RcvErrCnt = 0; // failed receives and rejected messages
};
