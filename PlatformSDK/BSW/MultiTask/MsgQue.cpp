// The message queue. Any thread.
//
// A message leaves the list only together with its count of the semaphore. A blocked
// receiver takes the count first and comes for the message later, so whoever holds the
// mutex only tries for a count: it may be gone, and then the message is spoken for.
#include "BSW/MultiTask/MsgQue.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "BSW/BasicFun/Function.h"
#include "common/Guard.h"

#undef NDEBUG // a count that contradicts the list ends the process in every build
#include <cassert>

namespace {

// Gives a message its own copy of the user data. False when memory is short.
bool AttachUserData(XMSG &message, const char *pUserData, std::uint32_t length) {
    message.pUserData = static_cast<char *>(calloc(length, 1));
    if (!message.pUserData)
        return false;
    memcpy(message.pUserData, pUserData, length);
    message.u32UserDataLen = length;
    return true;
}

} // namespace

CMsgQue::CMsgQue(const char *name, int maxMsg) : m_nMaxMsg(maxMsg) {
    snprintf(m_szMsgName, sizeof m_szMsgName, "%s", name ? name : "");
}

CMsgQue::~CMsgQue() {
    ClearMsg();
}

bool CMsgQue::_Accepts(int priority) const {
    return m_nMsg < m_nMaxMsg && priority <= 1 && m_bMsgFlg;
}

bool CMsgQue::SendMsg(std::uint32_t msg, std::uint32_t wpa, unsigned long lpa, int priority, const char *pUserData,
                      std::uint32_t UserDataLen) {
    CGuard guard(m_Mutex);
    if (!_Accepts(priority))
        return false;
    XMSG message = {};
    message.msg = msg;
    message.wpa = wpa;
    message.lpa = lpa;
    message.time = SystemGetMSCount();
    if (msg == XM_MSG_USERDATA && pUserData && UserDataLen != 0 && !AttachUserData(message, pUserData, UserDataLen))
        return false;
    // Messages are taken from the back: priority 1 comes out last.
    m_Queue.insert(priority == 1 ? m_Queue.begin() : m_Queue.end(), message);
    ++m_nMsg;
    m_Semaphore.Post();
    return true;
}

XMSG CMsgQue::_TakeLast() {
    assert(m_nMsg);
    const XMSG message = m_Queue.back();
    m_Queue.pop_back();
    --m_nMsg;
    return message;
}

bool CMsgQue::RecvMsg(XMSG *pMsg, bool wait) {
    if (wait)
        m_Semaphore.Wait();
    CGuard guard(m_Mutex);
    if (m_Queue.empty())
        return false;
    if (!wait && !m_Semaphore.TryWait())
        return false;
    *pMsg = _TakeLast();
    return true;
}

void CMsgQue::ClearMsg() {
    CGuard guard(m_Mutex);
    while (!m_Queue.empty() && m_Semaphore.TryWait())
        free(_TakeLast().pUserData);
}

void CMsgQue::QuitMsg() {
    CGuard guard(m_Mutex);
    m_bMsgFlg = false;
}

unsigned CMsgQue::GetMsgCount() {
    CGuard guard(m_Mutex);
    return static_cast<unsigned>(m_nMsg);
}

int CMsgQue::GetMsgSize() {
    CGuard guard(m_Mutex);
    return m_nMaxMsg;
}

void CMsgQue::SetMsgSize(int maxMsg) {
    CGuard guard(m_Mutex);
    m_nMaxMsg = maxMsg;
}
