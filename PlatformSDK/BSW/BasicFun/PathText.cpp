// Paths as text. Any thread.
#include "BSW/BasicFun/PathText.h"

std::string JoinPath(const char *directory, const char *name) {
    std::string path(directory);
    if (!path.ends_with('/'))
        path += '/';
    return path += name;
}

std::string WithoutEndSlashes(std::string path) {
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return path;
}
