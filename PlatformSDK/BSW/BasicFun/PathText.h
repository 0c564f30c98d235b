// Paths as text. Internal to the basic functions; any thread.
#pragma once

#include <string>

// `directory` and `name` with a "/" between them.
std::string JoinPath(const char *directory, const char *name);

// A path that does not end in "/", unless it is "/".
std::string WithoutEndSlashes(std::string path);
