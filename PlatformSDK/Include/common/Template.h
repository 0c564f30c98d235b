// Shared record templates. Plain data, no thread of its own.
#pragma once

// A registered callback: the function (null while the slot is free) and the context
// that is handed back to it.
template <typename T> struct CCallbackInfo {
    virtual ~CCallbackInfo() = default;

    T pCbFun = nullptr;
    void *pContext = nullptr;
};
