// Linked into tests that run under an emulator, in the place of execv: a death test of the
// style "threadsafe" starts its own program again, which takes the emulator.
#include <array>
#include <cstdlib>

#include <unistd.h>

extern "C" int __real_execv(const char *path, char *const argv[]);

// Called in a child whose stack is one page.
extern "C" int __wrap_execv(const char *path, char *const argv[]) {
    static std::array<char *, 64> words; // far more than a death test passes
    words[0] = getenv("ZR_EMULATOR");
    words[1] = const_cast<char *>(path);
    std::size_t count = 2;
    for (std::size_t at = 1; argv[at] && count + 1 < words.size(); ++at)
        words[count++] = argv[at];
    words[count] = nullptr;
    return words[0] ? __real_execv(words[0], words.data()) : __real_execv(path, argv);
}
