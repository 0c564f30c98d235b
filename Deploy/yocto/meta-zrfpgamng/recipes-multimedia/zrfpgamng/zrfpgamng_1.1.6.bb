SUMMARY = "Audio bridge of an intercom device"
DESCRIPTION = "Moves 24 channels of audio between the FPGA's sound card hw:0,0 and the other \
audio processes of the board, over Unix datagram sockets."
SECTION = "multimedia"
# The source tree comes without a licence text.
LICENSE = "CLOSED"

DEPENDS = "alsa-lib log4cpp dbus cli11 nlohmann-json libsndfile1 libsamplerate0"

# A product names its own place and revision of the source in its distribution.
ZRFPGAMNG_URI ?= "git://${ZRFPGAMNG_TREE};protocol=file;branch=main"
ZRFPGAMNG_REVISION ?= "${AUTOREV}"
SRC_URI = "${ZRFPGAMNG_URI}"
SRCREV = "${ZRFPGAMNG_REVISION}"
S = "${WORKDIR}/git"

inherit cmake pkgconfig systemd useradd features_check

REQUIRED_DISTRO_FEATURES = "systemd"

EXTRA_OECMAKE = "-DZR_BUILD_TESTS=OFF -DZR_WARNINGS_AS_ERRORS=OFF -DZR_BUILT_BY=${DISTRO} \
                 -DZR_SYSTEMD_UNITDIR=${systemd_system_unitdir} -DZR_SYSUSERSDIR=${nonarch_libdir}/sysusers.d \
                 -DZR_TMPFILESDIR=${nonarch_libdir}/tmpfiles.d"

SYSTEMD_SERVICE:${PN} = "zrfpgamng.service"

# The same user as sysusers.d declares, made with the image. The group audio is there already.
USERADD_PACKAGES = "${PN}"
USERADD_PARAM:${PN} = "--system --user-group --groups audio --home-dir /nonexistent --no-create-home \
                       --shell /sbin/nologin zrfpgamng"

PACKAGE_BEFORE_PN = "${PN}-tools ${PN}-card"

FILES:${PN} += "${nonarch_libdir}/sysusers.d/zrfpgamng.conf ${nonarch_libdir}/tmpfiles.d/zrfpgamng.conf \
                ${datadir}/dbus-1/system.d/org.FpgaMng.server.conf"
FILES:${PN}-tools = "${bindir}/zrctl ${bindir}/zrpeer ${datadir}/bash-completion/completions/zrctl"
FILES:${PN}-card = "${bindir}/zrcard ${bindir}/zrdesk ${libdir}/alsa-lib/libzrcard.so \
                    ${datadir}/zrfpgamng-card/asound.conf"

# Headers only.
RDEPENDS:${PN}-dev = ""
RRECOMMENDS:${PN} = "dbus"
# The recorded voices come with the speaker test.
RDEPENDS:${PN}-card = "${PN} ${PN}-tools dbus alsa-utils-speakertest"
