// The connection to the system bus. ThreadProc, QueryMessage and HandleMessage run on the
// worker "CDbusHandler", all else on the thread that calls it.
//
// The worker reads the bus without the lock, but takes a message out of the connection's
// queue only with it: a thread that awaits a reply holds the lock, so its reply stays.
#include "BSW/Dbus/DbusHandler.h"

#include <cstdio>
#include <cstring>

#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "BSW/Log/Log.h"
#include "common/Guard.h"
#include "common/Relaxed.h"

namespace {

constexpr int SLICE_MS = 20; // the worker waits this long for a message
constexpr int PAUSE_MS = 10; // and this long while the connection is unusable

// True, and a line in the log, when a call of `operation` lacks a name.
bool LacksNames(const char *operation, const char *object, const char *interface, const char *method,
                const std::string &value) {
    if (object && interface && method)
        return false;
    LOG_ERR("%s param wrong pstrObjectName:%p pstrInterface:%p pstrSignal:%p strValue:%p", operation, object, interface,
            method, value.c_str());
    return true;
}

} // namespace

CDbusHandler::CDbusHandler() : CThread(false, 0, 0, "CDbusHandler"), m_Mutex("") {}

CDbusHandler::~CDbusHandler() {
    if (RelaxedLoad(m_bLoop))
        DestroyThread(true, true);
    if (DBusConnection *connection = Observe(m_dbusConn))
        dbus_connection_unref(connection); // shared with the library: never closed here
}

bool CDbusHandler::Init(const char *pstrDbusName) {
    dbus_threads_init_default();
    _Connect(pstrDbusName);
    return CreateThread(0);
}

void CDbusHandler::_Connect(const char *pstrDbusName) {
    CGuard guard(m_Mutex);
    CDbusError error;
    DBusConnection *previous = Observe(m_dbusConn);
    Publish(m_dbusConn, dbus_bus_get(DBUS_BUS_SYSTEM, error.Get()));
    if (error.IsSet()) {
        LOG_ERR("dbus_bus_get: %s\n", error.Message());
        return;
    }
    if (m_dbusConn == previous)
        dbus_connection_unref(previous); // the same connection once more
    dbus_connection_set_exit_on_disconnect(m_dbusConn, FALSE);
    _ClaimName(pstrDbusName);
}

void CDbusHandler::_ClaimName(const char *pstrDbusName) {
    CDbusError error;
    int reply = 0;
    if (!pstrDbusName)
        dbus_set_error_const(error.Get(), DBUS_ERROR_INVALID_ARGS, "No bus name");
    else if (dbus_validate_bus_name(pstrDbusName, error.Get()))
        reply = dbus_bus_request_name(m_dbusConn, pstrDbusName, DBUS_NAME_FLAG_REPLACE_EXISTING, error.Get());
    if (error.IsSet())
        LOG_ERR("dbus_bus_request_name: %s\n", error.Message());
    else if (reply != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
        LOG_ERR("Err: DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER\n");
}

int CDbusHandler::CleanUp() {
    return 1; // does nothing else
}

int CDbusHandler::RegisteredServices(const char *pstrObjectName, const char *pstrtInterface, const char *pstrMethod,
                                     PFN_DBUS_INVOKE pfnRegistrationCallback, bool isSingnal) {
    if (!pstrObjectName || !pstrtInterface || !pstrMethod || !pfnRegistrationCallback) {
        LOG_ERR("%s param wrong pstrObjectName:%p pstrtInterface:%p pstrMethod:%p pfnRegistrationCallback:%p",
                "RegisteredServices", pstrObjectName, pstrtInterface, pstrMethod,
                reinterpret_cast<void *>(pfnRegistrationCallback));
        return 0;
    }
    CGuard guard(m_Mutex);
    if (isSingnal)
        SignalListen(pstrtInterface, pstrMethod);
    m_VcDbusServices.push_back({pstrObjectName, pstrtInterface, pstrMethod, pfnRegistrationCallback});
    return 1;
}

void CDbusHandler::SignalListen(const char *pstrInterface, const char *pstrMethod) {
    char rule[256] = {};
    snprintf(rule, sizeof rule, "type='signal',interface='%s',member='%s'", pstrInterface, pstrMethod);
    CDbusError error;
    if (!m_dbusConn)
        error.SetDisconnected();
    else if (dbus_validate_utf8(rule, error.Get()))
        dbus_bus_add_match(m_dbusConn, rule, error.Get());
    if (error.IsSet())
        LOG_ERR("dbus_bus_add_math Error: %s", error.Message()); // "math": spelled so
}

int CDbusHandler::UnRegisteredServices(const char *pstrObjectName, const char *pstrtInterface, const char *pstrMethod) {
    if (!pstrObjectName || !pstrtInterface || !pstrMethod) {
        LOG_ERR("%s param wrong pstrObjectName:%p pstrtInterface:%p pstrMethod:%p ", "UnRegisteredServices",
                pstrObjectName, pstrtInterface, pstrMethod);
        return 0;
    }
    CGuard guard(m_Mutex);
    // Compares the interface with the object name and keeps the entries of this method: callers rely on it.
    std::erase_if(m_VcDbusServices, [=](const DBUS_SERVICES &service) {
        return strcmp(service.pstrObjectName, pstrObjectName) == 0 &&
               strcmp(service.pstrInterface, pstrObjectName) != 0 && strcmp(service.pstrMethod, pstrMethod) != 0;
    });
    return 1;
}

void CDbusHandler::ThreadProc() {
    LOG_DBG("Enter CDbusHandler Thread, thread PID = %d, PPID = %d.", GetThreadID(), getppid());
    while (RelaxedLoad(m_bLoop)) {
        if (!QueryMessage(SLICE_MS)) {
            XSleep(PAUSE_MS);
            continue;
        }
        m_Mutex.Enter();
        std::vector<DBUS_SERVICES> services = m_VcDbusServices;
        m_Mutex.Leave();
        if (!services.empty())
            HandleMessage(services, static_cast<int>(services.size()));
    }
}

// One slice: ends when there is a message or the time is over; false when the connection
// is closed or was never made. Without services the library answers the callers (unknown
// method). With services the library must dispatch nothing, not even when a burst has
// queued several messages: each is left to HandleMessage, and the queue comes before the bus.
bool CDbusHandler::QueryMessage(int s32TimeoutMs) {
    DBusConnection *connection = Observe(m_dbusConn);
    if (!connection)
        return false;
    if (!_HasServices())
        return dbus_connection_read_write_dispatch(connection, s32TimeoutMs);
    if (dbus_connection_get_dispatch_status(connection) == DBUS_DISPATCH_DATA_REMAINS)
        return true;
    return dbus_connection_read_write(connection, s32TimeoutMs);
}

bool CDbusHandler::_HasServices() {
    CGuard guard(m_Mutex);
    return !m_VcDbusServices.empty();
}

int CDbusHandler::HandleMessage(std::vector<DBUS_SERVICES> &VcDbusServices, int s32ServicesNum) {
    if (!Observe(m_dbusConn)) {
        printf("m_dbusConn not vaild!\n");
        return 0;
    }
    const DbusMessagePtr msg = _PopMessage();
    if (!msg)
        return 0;
    for (int i = 0; i < s32ServicesNum; ++i) { // every matching entry is served
        const DBUS_SERVICES &service = VcDbusServices[i];
        if (dbus_message_is_method_call(msg.get(), service.pstrInterface, service.pstrMethod)) {
            if (dbus_message_has_path(msg.get(), service.pstrObjectName))
                _AnswerCall(msg.get(), service);
        } else if (dbus_message_is_signal(msg.get(), service.pstrInterface, service.pstrMethod)) {
            if (!_TakeSignal(msg.get(), service)) // signals match whatever their path
                return 0;
        }
    }
    return 1;
}

DbusMessagePtr CDbusHandler::_PopMessage() {
    CGuard guard(m_Mutex);
    return DbusMessagePtr(m_dbusConn ? dbus_connection_pop_message(m_dbusConn) : nullptr);
}

void CDbusHandler::_AnswerCall(DBusMessage *msg, const DBUS_SERVICES &service) {
    const char *argument = nullptr;
    const DbusArgument kind = DbusReadText(msg, &argument);
    if (kind == DbusArgument::NONE)
        fprintf(stderr, "Message has no arguments!\n");
    else if (kind == DbusArgument::NOT_STRING)
        fprintf(stderr, "Argument is not string!\n");
    const std::string text = service.pfnInvoke(DbusTextOf(argument)); // no text: throws, nothing catches
    const DbusMessagePtr reply(dbus_message_new_method_return(msg));
    if (!DbusAppendText(reply.get(), text.c_str()))
        LOG_ERR("Out Of Memory!"); // the reply goes out without its text
    if (!_Send(reply.get()))
        LOG_ERR("Out Of Memory!");
}

bool CDbusHandler::_TakeSignal(DBusMessage *msg, const DBUS_SERVICES &service) {
    CDbusError error;
    const char *text = nullptr;
    if (!dbus_message_get_args(msg, error.Get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID)) {
        LOG_ERR("dbus_message_get_args Error: %s\n", error.Message());
        return false;
    }
    LOG_INF("Get: %s", text);
    service.pfnInvoke(DbusTextOf(text));
    return true;
}

int CDbusHandler::SignalSend(const char *pstrObjectName, const char *pstrInterface, const char *pstrMethod,
                             const char *pstrValue) {
    if (!Observe(m_dbusConn)) {
        LOG_ERR("m_dbusConn not vaild!");
        return 0;
    }
    if (!pstrObjectName || !pstrInterface || !pstrMethod) {
        LOG_ERR("%s param wrong pstrObjectName:%p pstrInterface:%p pstrMethod:%p pstrValue:%p", "SignalSend",
                pstrObjectName, pstrInterface, pstrMethod, pstrValue);
        return 0;
    }
    CGuard guard(m_Mutex);
    const DbusMessagePtr msg = DbusNewSignal(pstrObjectName, pstrInterface, pstrMethod);
    if (!msg) {
        LOG_ERR("dbus_message_new_signal Error!");
        return 0;
    }
    if (!DbusAppendText(msg.get(), pstrValue)) {
        LOG_ERR("dbus_message_append_args Error: Out Of Memory!");
        return 0;
    }
    if (!_Send(msg.get())) {
        LOG_ERR("dbus_connection_send Error!");
        return 0;
    }
    return 1;
}

int CDbusHandler::MethodSend(const char *pstrDbusDstName, const char *pstrObjectName, const char *pstrInterface,
                             const char *pstrMethod, const std::string &strValue) {
    if (LacksNames("MethodSend", pstrObjectName, pstrInterface, pstrMethod, strValue))
        return 0;
    CGuard guard(m_Mutex);
    const DbusMessagePtr msg = _BuildCall(pstrDbusDstName, pstrObjectName, pstrInterface, pstrMethod, strValue);
    if (!msg)
        return 0;
    if (!_Send(msg.get())) {
        LOG_ERR("dbus_connection_send: Out of Memory!");
        return 0;
    }
    return 1;
}

int CDbusHandler::MethodSendGetReply(const char *pstrDbusDstName, const char *pstrObjectName, const char *pstrInterface,
                                     const char *pstrMethod, const std::string &strValue, std::string &strReply,
                                     const int iTimeout) {
    if (LacksNames("MethodSendGetReply", pstrObjectName, pstrInterface, pstrMethod, strValue))
        return 0;
    CGuard guard(m_Mutex);
    const DbusMessagePtr msg = _BuildCall(pstrDbusDstName, pstrObjectName, pstrInterface, pstrMethod, strValue);
    if (!msg)
        return 0;
    CDbusError error;
    const DbusMessagePtr reply = _AwaitReply(msg.get(), iTimeout, error);
    if (error.IsSet()) {
        LOG_ERR("Error %s: %s! SendMsg: %s ", error.Name(), error.Message(), strValue.c_str());
        return 0;
    }
    const char *text = nullptr;
    const DbusArgument kind = DbusReadText(reply.get(), &text);
    if (kind == DbusArgument::NONE)
        LOG_ERR("Message has no arguments!");
    else if (kind == DbusArgument::NOT_STRING)
        LOG_ERR("Argument is not string!");
    strReply = DbusTextOf(text);
    return 1;
}

// A method call with its text. Empty, and a line in the log, on failure.
DbusMessagePtr CDbusHandler::_BuildCall(const char *pstrDbusDstName, const char *pstrObjectName,
                                        const char *pstrInterface, const char *pstrMethod,
                                        const std::string &strValue) {
    DbusMessagePtr msg = DbusNewMethodCall(pstrDbusDstName, pstrObjectName, pstrInterface, pstrMethod);
    if (!msg) {
        LOG_ERR("dbus_message_new_method_call Error!");
    } else if (!DbusAppendText(msg.get(), strValue.c_str())) {
        LOG_ERR("dbus_message_iter_append_basic: Out of Memory!");
        msg.reset();
    }
    return msg;
}

// Sends and blocks for the reply. Empty with `error` set on failure.
DbusMessagePtr CDbusHandler::_AwaitReply(DBusMessage *msg, int iTimeout, CDbusError &error) {
    if (!m_dbusConn) {
        error.SetDisconnected();
        return nullptr;
    }
    const int timeoutMs = iTimeout < 0 ? DBUS_TIMEOUT_USE_DEFAULT : iTimeout;
    return DbusMessagePtr(dbus_connection_send_with_reply_and_block(m_dbusConn, msg, timeoutMs, error.Get()));
}

// Hands `msg` to the bus. A closed connection is refused here: libdbus would keep the
// message for ever.
bool CDbusHandler::_Send(DBusMessage *msg) {
    DBusConnection *connection = Observe(m_dbusConn);
    if (!connection || !msg || !dbus_connection_get_is_connected(connection) ||
        !dbus_connection_send(connection, msg, nullptr))
        return false;
    dbus_connection_flush(connection);
    return true;
}
