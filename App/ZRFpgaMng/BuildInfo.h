// What was built, when and by whom; the texts are produced by the build.
#pragma once

extern const char BUILD_DATE[]; // "Mmm dd yyyy", day padded with a blank
extern const char BUILD_TIME[]; // "hh:mm:ss"

// Source revision, who built it and whether there were uncommitted changes, build type.
extern const char BUILD_COMMIT_ID[];
