// Every function for time, processes and diagnostics under its name, with its signature and,
// except those of C++ types or with two forms, with C linkage.
#include <gtest/gtest.h>

#include <set>

#include <dlfcn.h>

#include "BSW/BasicFun/Function.h"

namespace {

// The address of `function`, which has to have that type: it is linked.
template <typename Function> void *AddressOf(Function *function) {
    return reinterpret_cast<void *>(function);
}

} // namespace

TEST(FunctionNames, EveryFunctionHasItsSignature) {
    const std::set<void *> functions = {
        AddressOf<std::string()>(GetBackTrace),
        AddressOf<std::string()>(GetRunPart),
        AddressOf<void()>(ZRAbort),
        AddressOf<void()>(DBG_set_coredump_default),
        AddressOf<int(int)>(DBG_set_coredump_size),
        AddressOf<void()>(show_coredump_size),
        AddressOf<std::uint64_t()>(SystemGetMSCount),
        AddressOf<std::uint64_t(char *)>(SystemGetMSCountExt),
        AddressOf<std::uint64_t()>(SystemGetUSCount),
        AddressOf<std::uint64_t(int)>(SystemGetUSCount),
        AddressOf<std::uint64_t()>(SystemGetSecondCount),
        AddressOf<unsigned long()>(GetCurTimeMilliSec),
        AddressOf<int(unsigned int)>(XSleep),
        AddressOf<int(unsigned int)>(SleepS),
        AddressOf<int(unsigned long)>(SleepMs),
        AddressOf<int(const char *)>(ExecCommand),
        AddressOf<int(const char *, const char *, ...)>(ExecCommand2),
        AddressOf<int(const char *, const char *, ...)>(ExecCommandBackground),
        AddressOf<int(const char *, char *)>(ExecuteCmdAndGetResult),
        AddressOf<int(int, int &)>(XWaitProgressQuit),
        AddressOf<int(const char *)>(FindBusyboxPid),
        AddressOf<int(const char *, const char *)>(XGetProgressIDByProgramName),
        AddressOf<int(int, int, int, int, int, int)>(XSetSystemTime),
        AddressOf<void(bool)>(ZRPrintCurrentTime),
        AddressOf<int(std::int64_t, RECTIME *)>(Second2RECTIME),
        AddressOf<std::int64_t(const tagRECTIME *)>(RECTIME2Second),
        AddressOf<int(tagRECTIME *)>(GetSysDateTime2),
        AddressOf<int(const tagRECTIME *)>(SetSysDateTime2),
        AddressOf<int(char *, int)>(GetUUID),
        AddressOf<void(char *, TimeInterval &)>(PrintTimeInterval),
        AddressOf<void(unsigned char *, int)>(dumpADTS),
        AddressOf<void(const char *, const unsigned char *, unsigned short)>(DumpHexInfo),
    };
    EXPECT_EQ(functions.size(), 32U);
    EXPECT_FALSE(functions.contains(nullptr));
}

// The names are looked up in the program.
TEST(FunctionNames, AllButAFewHaveCLinkage) {
    const char *names[] = {
        "ZRAbort",
        "DBG_set_coredump_default",
        "DBG_set_coredump_size",
        "show_coredump_size",
        "SystemGetMSCount",
        "SystemGetMSCountExt",
        "SystemGetSecondCount",
        "GetCurTimeMilliSec",
        "XSleep",
        "SleepS",
        "SleepMs",
        "ExecCommand",
        "ExecCommand2",
        "ExecCommandBackground",
        "ExecuteCmdAndGetResult",
        "XWaitProgressQuit",
        "FindBusyboxPid",
        "XGetProgressIDByProgramName",
        "XSetSystemTime",
        "ZRPrintCurrentTime",
        "Second2RECTIME",
        "RECTIME2Second",
        "GetSysDateTime2",
        "SetSysDateTime2",
        "GetUUID",
        "PrintTimeInterval",
        "dumpADTS",
        "DumpHexInfo",
    };
    for (const char *name : names)
        EXPECT_NE(dlsym(RTLD_DEFAULT, name), nullptr) << name;
}
