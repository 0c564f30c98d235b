// Every name of the file, directory and text functions, with its exact type and linkage.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include "BSW/BasicFun/FileUtils.h"
#include "BSW/BasicFun/StringUtils.h"

namespace {

using Function = void (*)();

struct Name {
    const char *name;
    Function function;
};

// Does not compile when there is no such function of that very type.
#define NAME(name, ...)                                                                                                \
    Name {                                                                                                             \
#name, reinterpret_cast < Function>(static_cast <__VA_ARGS__>(&name))                                          \
    }

using Check = int (*)(int, char *);
using Text = std::string;
using Names = std::vector<std::string>;

const Name C_NAMES[] = {
    NAME(trim, char *(*)(char *)),
    NAME(GetFileExtName, int (*)(const char *, char *)),
    NAME(XGetDiskPartitionSpace, int (*)(const char *, unsigned long long *, unsigned long long *)),
    NAME(XRemoveFullPathEmptyDir, int (*)(const char *)),
    NAME(XDeleteFile, int (*)(const char *)),
    NAME(XRenameFile, int (*)(const char *, const char *)),
    NAME(XGetFileSize, int (*)(const char *, unsigned long *)),
    NAME(XGetCurrentPath, int (*)(char *, int)),
    NAME(FileRead, char *(*)(char *)),
    NAME(SafeRead, long (*)(int, void *, unsigned long)),
    NAME(SafeWrite, long (*)(int, const unsigned char *, unsigned long)),
    NAME(FullWrite, long (*)(int, const unsigned char *, unsigned long)),
    NAME(XFindFirstFile, int (*)(const char *, tagDIR_CTX *, tagXFileFindData *)),
    NAME(XFindNextFile, int (*)(tagDIR_CTX *, tagXFileFindData *)),
    NAME(XCloseFindFile, int (*)(tagDIR_CTX *, bool)),
    NAME(SyncFS, void (*)()),
    NAME(MakeFile, int (*)(const char *)),
    NAME(MakeDir, int (*)(const char *)),
    NAME(ClearDir, int (*)(const char *)),
    NAME(DeleDir, int (*)(const char *)),
    NAME(DeleFile, int (*)(const char *)),
    NAME(ReName, int (*)(const char *, const char *)),
    NAME(ReadLine, int (*)(FILE *, char *, int)),
    NAME(GetTotalSpace, long long (*)(const char *)),
    NAME(GetFreeSpace, long long (*)(const char *)),
    NAME(isMounted, int (*)(const char *)),
    NAME(IsDirExist, int (*)(const char *)),
    NAME(isDirEmpty, int (*)(const char *)),
    NAME(EasyMakeDir, int (*)(const char *)),
    NAME(GetFileFromDir, int (*)(const char *, char *, int)),
    NAME(IsFileExistInDir, int (*)(const char *, const char *)),
    NAME(GetFileSize, int (*)(const char *, long long *)),
    NAME(CheckDirIsFail, int (*)(const char *, Check)),
    NAME(CheckDir, int (*)(const char *, const char *, Check)),
    NAME(CopyFile, int (*)(const char *, const char *)),
    NAME(CharToHex, int (*)(char *, char *, int)),
    NAME(BlankChar, int (*)(int)),
    NAME(split, int (*)(char **, char *, const char *, int)),
    NAME(ZROpen, int (*)(const char *, int)),
    NAME(ZRFopen, FILE *(*)(const char *, const char *)),
};

const Name CPP_NAMES[] = {
    NAME(XRemoveDirectory, int (*)(const char *)),
    NAME(XRemoveDirectory, int (*)(const char *, int)),
    NAME(IsFileExist, bool (*)(Text)),
    NAME(getFiles, int (*)(Text, Names &)),
    NAME(StringUtils::ReplaceAll, Text (*)(const Text &, const Text &, const Text &)),
    NAME(StringUtils::ContainsSubstring, bool (*)(const Text &, const Text &)),
    NAME(StringUtils::ModifyIPAddress, Text (*)(const Text &, int)),
    NAME(StringUtils::GetFilesName, Names (*)(const Text &)),
    NAME(StringUtils::StringToHex, Text (*)(const Text &)),
    NAME(StringUtils::StringToHex, int (*)(const char *, int, char *, int)),
    NAME(StringUtils::HexToString, Text (*)(const Text &)),
    NAME(StringUtils::HexToString, int (*)(const char *, char *, int)),
    NAME(StringUtils::HexStringToUint64, std::uint64_t (*)(const Text &, bool *)),
    NAME(StringUtils::IntToPPString, Text (*)(int)),
};

Function FindSymbol(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name));
}

} // namespace

TEST(FileNames, FreeFunctionsHaveCLinkage) {
    for (const Name &entry : C_NAMES)
        EXPECT_EQ(FindSymbol(entry.name), entry.function) << entry.name;
}

TEST(FileNames, OverloadsAndCppTypesHaveCppLinkage) {
    for (const Name &entry : CPP_NAMES) {
        EXPECT_NE(entry.function, nullptr) << entry.name;
        EXPECT_EQ(FindSymbol(entry.name), nullptr) << entry.name;
    }
}

TEST(FileNames, TheWalksStructuresHaveTheirFields) {
    EXPECT_EQ(sizeof(tagDIR_CTX::path), 256U);
    EXPECT_EQ(sizeof(tagXFileFindData::extname), 256U);
    EXPECT_EQ(sizeof(tagXFileFindData::filename), 512U);
    static_assert(std::is_same_v<decltype(tagDIR_CTX::dir_ctx), void *>);
    static_assert(std::is_same_v<decltype(tagXFileFindData::is_dir), bool>);
    static_assert(std::is_same_v<decltype(tagXFileFindData::is_readonly), bool>);
    static_assert(std::is_same_v<decltype(tagXFileFindData::size), std::uint64_t>);
    static_assert(std::is_same_v<decltype(tagXFileFindData::space), std::uint64_t>);
    static_assert(std::is_same_v<decltype(tagXFileFindData::create_time), time_t>);
    static_assert(std::is_same_v<decltype(tagXFileFindData::access_time), time_t>);
    static_assert(std::is_same_v<decltype(tagXFileFindData::modify_time), time_t>);
}
