// The real service with the unit's umask: its sockets are open to owner and group only.
#include <string>

#include <sys/stat.h>

#include "ServiceFixture.h"
#include "UnitFile.h"

namespace {

unsigned ModeOf(const char *path) {
    struct stat status;
    return stat(path, &status) == 0 ? status.st_mode & 07777u : 0;
}

class DeployUnitSocket : public Service {};

TEST_F(DeployUnitSocket, AreClosedToOthers) {
    ASSERT_EQ(UnitSetting("UMask"), "0007");
    umask(static_cast<mode_t>(std::stoul(UnitSetting("UMask"), nullptr, 8)));
    StartStopped();
    EXPECT_EQ(ModeOf(FROM_PEER), 0770u);
    EXPECT_EQ(ModeOf(CONTROL), 0770u);
}

} // namespace
