// The install rules: which files each component has, and that the peers' header is enough
// where it is installed.
#include <filesystem>
#include <map>

#include <gmock/gmock.h>

#include "DeployFixture.h"

using testing::ContainerEq;

namespace {

using Files = std::set<std::string>;

const std::map<std::string, Files> COMPONENTS = {
    {"service",
     {"bin/ZRFpgaMng", "lib/systemd/system/zrfpgamng.service", "lib/sysusers.d/zrfpgamng.conf",
      "lib/tmpfiles.d/zrfpgamng.conf", "share/dbus-1/system.d/org.FpgaMng.server.conf",
      "share/doc/zrfpgamng/examples/peers-of-root.conf", "share/doc/zrfpgamng/examples/real-time.conf",
      "share/man/man8/ZRFpgaMng.8", "share/man/man8/zrfpgamng.8"}},
    {"tools",
     {"bin/zrctl", "bin/zrpeer", "share/bash-completion/completions/zrctl", "share/man/man1/zrctl.1",
      "share/man/man1/zrpeer.1"}},
    {"dev",
     {"include/zrfpgamng/ZRPeer.h", "include/zrfpgamng/AudioStreamIpcDef.h", "include/zrfpgamng/common/Types.h",
      "share/pkgconfig/zrpeer.pc", "share/doc/zrfpgamng-dev/examples/echo-peer.cpp"}},
    {"card",
     {"bin/zrcard", "bin/zrdesk", ZR_LIBDIR "/alsa-lib/libzrcard.so", "share/man/man1/zrcard.1",
      "share/man/man1/zrdesk.1", "share/zrfpgamng-card/asound.conf", "share/doc/zrfpgamng-card/examples/no-card.conf",
      "share/doc/zrfpgamng-card/examples/stand-in.conf"}},
};

class DeployInstall : public Deploy {};

TEST_F(DeployInstall, EachComponentHasItsFiles) {
    for (const auto &[component, files] : COMPONENTS) {
        EXPECT_THAT(Install(component), ContainerEq(files)) << component;
        std::filesystem::remove_all("stage");
    }
}

TEST_F(DeployInstall, NoFileIsOutsideTheComponents) {
    Files all;
    for (const auto &[component, files] : COMPONENTS)
        all.insert(files.begin(), files.end());
    EXPECT_THAT(Install(), ContainerEq(all));
}

TEST_F(DeployInstall, ManualPageHasTheNameOfTheProgram) {
    Install("service");
    EXPECT_EQ(std::filesystem::read_symlink("stage/share/man/man8/ZRFpgaMng.8"), "zrfpgamng.8");
}

TEST_F(DeployInstall, PeersAreBuiltByTheInstalledHeaderAlone) {
    Install("dev");
    const CommandEnd end = RunShell("flags=$(PKG_CONFIG_PATH=stage/share/pkgconfig pkg-config --define-prefix --cflags "
                                    "zrpeer) && c++ -std=c++17 -Wall -Wextra -Werror -fsyntax-only $flags "
                                    "stage/share/doc/zrfpgamng-dev/examples/echo-peer.cpp");
    EXPECT_EQ(end.status, 0) << end.errors;
}

} // namespace
