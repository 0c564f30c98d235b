// One end of a local datagram connection, named by a socket path: sends to the path, or
// receives on it, directly or through a thread of its own ("CZRIpc") that hands every
// datagram to a callback or to a queue of records.
//
// Construct, Init, optionally RegisterIPCCallback, use, UnregisterIPCCallback, CleanUp,
// destroy, all on the owner's thread. SendIPCMsg and RecvIPCMsg may be called from other
// threads in between. Nothing here locks.
#pragma once

#include "BSW/IPC/DataQueue.h"
#include "BSW/MultiTask/Thread.h"
#include "common/Mutex.h"
#include "common/Template.h"
#include "common/Types.h"

// Called with a datagram (valid during the call), its length and the registered context.
// The result is ignored.
typedef int (*zr_ipc_mng_cb)(void *pData, int nDataLen, void *pContext);

typedef struct zr_ipc_ctrl {
    int fd;            // -1 when there is no socket, 0 before Init
    int nModuleID;     // as given to Init; not used further
    char arszPath[64]; // where sends go and where a receiving socket is bound
} zr_ipc_ctrl_t;

class CZRIpc : public CThread {
  public:
    // Length in bytes of a direct receive, and the most the thread takes of a datagram.
    static constexpr ZR_U32 RECV_BYTES = 1600;

    CZRIpc();

    // Ends the thread if CleanUp did not; only CleanUp closes the socket and frees the queue.
    ~CZRIpc() override;

    // Opens the socket for `pPath` (kept to its first 63 characters), bound to it with
    // `bRecv` (a file at the path is removed first). `nPort` is only tested to be 0 to
    // 65535. With `bUsedQue`: makes a queue of `u32MaxMsgNum` records of `u32MsgSize`
    // bytes and starts the thread, which receives only with `bRecv`. True on success; a
    // thread that cannot be started leaves the queue in place. An endpoint that is open
    // already is cleaned up first.
    bool Init(int nId, char *pPath, int nPort, ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum, bool bRecv, bool bUsedQue);

    // Ends the thread (which takes up to one second), closes the socket, frees the queue;
    // a RecvIPCMsg that waits on the queue returns -1. The socket file stays. Always true.
    bool CleanUp();

    // Sends one datagram of `nLen` bytes to the path; blocks while the receiver's socket
    // is full. `nPort` is only tested. `nLen`, or -1.
    int SendIPCMsg(int nPort, char *szData, ZR_U32 nLen);

    // With a queue: one record, of the size given to Init, as CDataQueue::RecvData.
    // Without: blocks for one datagram whatever `u8Block` says, and `pMsgBuf` holds
    // RECV_BYTES bytes whatever `u32MsgSize` says. `u8Block` is an eRecvType. Bytes
    // received, or -1.
    int RecvIPCMsg(void *pMsgBuf, ZR_U32 u32MsgSize, ZR_U8 u8Block);

    // From now on the thread calls `fnEvtCallBack` instead of filling the queue. False
    // for a null function, or while one is registered.
    bool RegisterIPCCallback(zr_ipc_mng_cb fnEvtCallBack, void *pContext);

    // Back to the queue. False unless function and context are the registered ones. A
    // call that has begun on the thread may still go on.
    bool UnregisterIPCCallback(zr_ipc_mng_cb fnEvtCallBack, void *pContext);

    // Calls the registered callback, if any. On the receive thread, or the caller's.
    void NotifyIPCEvent(void *pData, int nDataLen);

    // The receive loop.
    void ThreadProc() override;

  private:
    bool _StartReceiving(ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum, bool bRecv);
    void _ReceiveOne(int fd, ZR_U8 *area);
    void _SetCallback(CCallbackInfo<zr_ipc_mng_cb> &slot, zr_ipc_mng_cb fnEvtCallBack, void *pContext);
    void _Deliver(ZR_U8 *area, int length);

    zr_ipc_ctrl_t *m_pstIpcCtrl;
    CMutex m_Mutex{""}; // taken by no operation
    CCallbackInfo<zr_ipc_mng_cb> m_cbinfo[1];
    ZR_U32 m_u32CbVersion = 0; // odd while the slot is being changed
    CDataQueue *m_pCDataQueue = nullptr;
    bool bRegisterCB = false; // written after the slot
    bool m_bRecv = false;     // the thread goes on
    bool m_bUsedQue = true;
};
