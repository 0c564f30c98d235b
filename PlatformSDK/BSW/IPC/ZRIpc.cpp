// The local datagram endpoint. ThreadProc and what it calls run on the thread "CZRIpc",
// everything else on the caller's.
#include "BSW/IPC/ZRIpc.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <poll.h>
#include <sys/select.h>
#include <unistd.h>

#include "BSW/IPC/zr_socket.h"
#include "BSW/Log/Log.h"
#include "common/Relaxed.h"

namespace {

constexpr int MAX_PORT = 65535;
constexpr int SELECT_SECONDS = 1;
constexpr std::size_t SENDER_PATH_BYTES = 64;

bool IsPort(int port) {
    return port >= 0 && port <= MAX_PORT;
}

// Waits up to one second for a datagram. False on a time-out or an error.
bool WaitReadable(int fd) {
    // A read set has no place for this descriptor; poll waits the same second for it.
    if (fd < 0 || fd >= FD_SETSIZE) {
        pollfd entry{fd, POLLIN, 0};
        return poll(&entry, 1, SELECT_SECONDS * 1000) > 0 && (entry.revents & POLLIN);
    }
    fd_set readSet;
    FD_ZERO(&readSet);
    FD_SET(fd, &readSet);
    timeval timeout{SELECT_SECONDS, 0};
    return select(fd + 1, &readSet, nullptr, nullptr, &timeout) >= 1 && FD_ISSET(fd, &readSet);
}

// Receives at most RECV_BYTES bytes; the sender's path is not wanted further.
int Receive(int fd, void *area) {
    ZR_U8 senderPath[SENDER_PATH_BYTES];
    return zr_local_udp_recv(fd, senderPath, sizeof(senderPath), static_cast<ZR_U8 *>(area), CZRIpc::RECV_BYTES);
}

} // namespace

CZRIpc::CZRIpc() : CThread(false, 0, 0, "CZRIpc"), m_pstIpcCtrl(new (std::nothrow) zr_ipc_ctrl_t{}) {
    if (!m_pstIpcCtrl)
        LOG_ERR("new failure!");
}

CZRIpc::~CZRIpc() {
    DestroyThread(true, true);
    delete m_pstIpcCtrl;
}

bool CZRIpc::Init(int nId, char *pPath, int nPort, ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum, bool bRecv, bool bUsedQue) {
    if (!IsPort(nPort) || !pPath) {
        LOG_ERR("bad parameter!");
        return false;
    }
    if (!m_pstIpcCtrl)
        return false;
    if (m_pstIpcCtrl->fd > 0 || m_pCDataQueue)
        CleanUp();
    const std::size_t length = strnlen(pPath, sizeof(m_pstIpcCtrl->arszPath) - 1);
    *m_pstIpcCtrl = {.fd = -1, .nModuleID = nId, .arszPath = {}};
    std::memcpy(m_pstIpcCtrl->arszPath, pPath, length);
    m_pstIpcCtrl->fd = zr_create_local_udpsvr(reinterpret_cast<ZR_S8 *>(m_pstIpcCtrl->arszPath), bRecv);
    if (m_pstIpcCtrl->fd == -1) {
        LOG_ERR("create socket failure!");
        return false;
    }
    const bool result = !bUsedQue || _StartReceiving(u32MsgSize, u32MaxMsgNum, bRecv);
    m_bUsedQue = bUsedQue;
    return result;
}

// Makes the queue, then starts the thread that fills it.
bool CZRIpc::_StartReceiving(ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum, bool bRecv) {
    Publish(m_pCDataQueue, new CDataQueue(u32MsgSize, u32MaxMsgNum));
    RelaxedStore(m_bRecv, bRecv);
    return CreateThread(0);
}

bool CZRIpc::CleanUp() {
    if (m_bUsedQue) {
        DestroyThread(true, true);
        m_bUsedQue = false;
    }
    if (m_pstIpcCtrl) {
        zr_close(m_pstIpcCtrl->fd);
        // The number may be another descriptor's by the time of a second call.
        RelaxedStore(m_pstIpcCtrl->fd, -1);
    }
    CDataQueue *queue = m_pCDataQueue;
    Publish(m_pCDataQueue, nullptr);
    delete queue;
    return true;
}

int CZRIpc::SendIPCMsg(int nPort, char *szData, ZR_U32 nLen) {
    if (!IsPort(nPort)) {
        LOG_ERR("bad port number!!");
        return -1;
    }
    if (!szData || nLen == 0) {
        LOG_ERR("bad data or dataLen!!");
        return -1;
    }
    if (!m_pstIpcCtrl)
        return -1;
    return zr_local_udp_send(RelaxedLoad(m_pstIpcCtrl->fd), reinterpret_cast<ZR_U8 *>(m_pstIpcCtrl->arszPath),
                             reinterpret_cast<ZR_U8 *>(szData), nLen);
}

int CZRIpc::RecvIPCMsg(void *pMsgBuf, ZR_U32 u32MsgSize, ZR_U8 u8Block) {
    if (CDataQueue *queue = Observe(m_pCDataQueue))
        return queue->RecvData(pMsgBuf, u32MsgSize, u8Block);
    if (!m_pstIpcCtrl)
        return -1;
    // Without a queue the receive blocks even where it was asked not to, and takes 1600 bytes whatever it was told.
    const int received = Receive(RelaxedLoad(m_pstIpcCtrl->fd), pMsgBuf);
    return received < 0 ? -1 : received;
}

bool CZRIpc::RegisterIPCCallback(zr_ipc_mng_cb fnEvtCallBack, void *pContext) {
    if (!fnEvtCallBack) {
        LOG_ERR("bad parameter!");
        return false;
    }
    for (auto &slot : m_cbinfo) {
        if (RelaxedLoad(slot.pCbFun))
            continue;
        _SetCallback(slot, fnEvtCallBack, pContext);
        Publish(bRegisterCB, true);
        return true;
    }
    return false;
}

bool CZRIpc::UnregisterIPCCallback(zr_ipc_mng_cb fnEvtCallBack, void *pContext) {
    if (!fnEvtCallBack)
        return false;
    for (auto &slot : m_cbinfo) {
        if (RelaxedLoad(slot.pCbFun) != fnEvtCallBack || RelaxedLoad(slot.pContext) != pContext)
            continue;
        _SetCallback(slot, nullptr, nullptr);
        Publish(bRegisterCB, false);
        return true;
    }
    return false;
}

// Publishes each step, so that who sees one of the new values sees the version changed as well.
void CZRIpc::_SetCallback(CCallbackInfo<zr_ipc_mng_cb> &slot, zr_ipc_mng_cb fnEvtCallBack, void *pContext) {
    const ZR_U32 version = RelaxedLoad(m_u32CbVersion);
    RelaxedStore(m_u32CbVersion, version + 1);
    Publish(slot.pContext, pContext);
    Publish(slot.pCbFun, fnEvtCallBack);
    Publish(m_u32CbVersion, version + 2);
}

void CZRIpc::NotifyIPCEvent(void *pData, int nDataLen) {
    for (auto &slot : m_cbinfo) {
        const ZR_U32 version = Observe(m_u32CbVersion);
        const zr_ipc_mng_cb callback = Observe(slot.pCbFun);
        void *const context = Observe(slot.pContext);
        // A slot that is being changed is passed over: function and context may not belong together.
        if (callback && version % 2 == 0 && RelaxedLoad(m_u32CbVersion) == version)
            callback(pData, nDataLen, context);
    }
}

void CZRIpc::ThreadProc() {
    const zr_ipc_ctrl_t ctrl = *m_pstIpcCtrl;
    LOG_DBG("Enter CZRIpc Thread, thread PID = %d, PPID = %d.%s", GetThreadID(), getppid(), ctrl.arszPath);
    // A record is read whole from the area, so that one larger than a datagram must fit.
    const ZR_U32 areaBytes = std::max(RECV_BYTES, m_pCDataQueue->RecordSize());
    const std::unique_ptr<ZR_U8[]> area(new (std::nothrow) ZR_U8[areaBytes]());
    if (!area) {
        LOG_ERR("new failure!");
        return;
    }
    while (RelaxedLoad(m_bLoop) && RelaxedLoad(m_bRecv))
        if (WaitReadable(ctrl.fd))
            _ReceiveOne(ctrl.fd, area.get());
}

// Takes one datagram from the socket and delivers it.
void CZRIpc::_ReceiveOne(int fd, ZR_U8 *area) {
    const int received = Receive(fd, area);
    if (received < 0) {
        LOG_ERR("zr_udp_recv error!");
        return;
    }
    _Deliver(area, received);
}

void CZRIpc::_Deliver(ZR_U8 *area, int length) {
    if (Observe(bRegisterCB))
        NotifyIPCEvent(area, length);
    else if (m_pCDataQueue)
        m_pCDataQueue->SendData(area, static_cast<ZR_U32>(length), EM_IPC_NOBLOCK);
}
