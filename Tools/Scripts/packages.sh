# shellcheck shell=bash
# Debian packages: finds what is missing and installs it. Source it, after common.sh.

# zr_packages_for NEED...: the names of packages.txt that one of them needs.
zr_packages_for() {
    local need name
    while read -r need name; do
        [[ $need != \#* && " $* " == *" $need "* ]] && printf '%s\n' "$name"
    done <"$ZR_TREE/Tools/Scripts/packages.txt"
    return 0
}

zr_package_installed() {
    [[ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]
}

# zr_install_packages NEED...: installs what is missing, or fails with one line.
zr_install_packages() {
    local name missing=()
    if ! command -v dpkg-query >/dev/null; then
        zr_say "not a Debian system: the packages of Tools/Scripts/packages.txt must be there already"
        return
    fi
    while read -r name; do
        zr_package_installed "$name" || missing+=("$name")
    done < <(zr_packages_for "$@")
    [[ ${#missing[@]} -eq 0 ]] && return
    zr_can_be_root ||
        zr_fail "missing packages, and neither root nor sudo to install them: apt-get install ${missing[*]}"
    zr_say "installing ${missing[*]}"
    zr_apt_get update || zr_say "apt-get update failed, trying with the lists that are there"
    zr_apt_get install --no-install-recommends "${missing[@]}" ||
        zr_fail "apt-get could not install: ${missing[*]}"
}

zr_apt_get() {
    zr_as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -y -o DPkg::Lock::Timeout=300 "$@" </dev/null
}
