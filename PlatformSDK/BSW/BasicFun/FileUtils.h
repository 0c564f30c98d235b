// Files and directories. Any thread.
#pragma once

#include "BSW/BasicFun/DirList.h"
#include "BSW/BasicFun/DirRemove.h"
#include "BSW/BasicFun/DirWalk.h"
#include "BSW/BasicFun/FileChange.h"
#include "BSW/BasicFun/FileCopy.h"
#include "BSW/BasicFun/FileInfo.h"
#include "BSW/BasicFun/FileOpen.h"
#include "BSW/BasicFun/FileSpace.h"
#include "BSW/BasicFun/SafeIo.h"

extern "C" {

// 1 when something exists at `path`, else 0 (also for null).
int XFilePathExists(const char *path);

// Makes every missing directory along `dir` with `mode`, as the umask allows. 1 when
// `dir` exists or all could be made, 0 at the first that cannot be made (those before it
// stay) and for null. Only the first 255 characters of the path, with the "/" that ends
// it, are looked at.
int XCreateFullPathDir(const char *dir, unsigned int mode);
}
