# What scripts/test needs for the Windows targets: Wine, and a prefix to run in. Sourced, not run.

# Where what is costly to make is kept for the next run: the root folder with a 32-bit system.
zv_root=${XDG_CACHE_HOME:-$HOME/.cache}/zvsupport/i386-bookworm

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)

# True when 32-bit programs can be run: by this machine's own Wine, or by the one in ZV_WINE_ROOT. A
# reason is in wine32_reason otherwise.
have_wine32() {
    dpkg-query -W -f '${Status}' wine32:i386 2>/dev/null | grep -q 'install ok installed' && return
    [ -e "$zv_root/.complete" ] || install_wine32 || make_wine32_root || return
    [ -e "$zv_root/.complete" ] || return 0
    wine32_reason="this machine does not run the 32-bit system in $zv_root"
    in_root 'exec wine --version' >/dev/null 2>&1 || return
    export ZV_WINE_ROOT=$zv_root
}

# From this machine's own package lists. Where they have no 32-bit packages that fit, the machine is
# left as it was found.
install_wine32() {
    local added=
    if ! dpkg --print-foreign-architectures | grep -qx i386; then
        "${as_root[@]}" dpkg --add-architecture i386 || return
        added=yes
    fi
    if "${as_root[@]}" apt-get update -qq &&
        apt-get install -s --no-remove --no-install-recommends wine32:i386 &&
        DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-remove \
            --no-install-recommends wine32:i386; then
        return 0
    fi
    [ -z "$added" ] || "${as_root[@]}" dpkg --remove-architecture i386
    "${as_root[@]}" apt-get update -qq
    return 1
} >/dev/null 2>&1

make_wine32_root() {
    local log=build/wine32-root.log
    wine32_reason="only root can make a folder with a 32-bit system"
    [ "$(id -u)" -eq 0 ] || return
    need_packages debootstrap
    say "making a 32-bit Debian with Wine in $zv_root (once)"
    wine32_reason="a 32-bit system could not be made (see $log)"
    rm -rf "$zv_root"
    mkdir -p "$zv_root"
    {
        debootstrap --arch=i386 --variant=minbase bookworm "$zv_root" "$(debian_mirror)" &&
            in_root 'apt-get update -qq && DEBIAN_FRONTEND=noninteractive \
                apt-get install -y -qq --no-install-recommends wine wine32' &&
            touch "$zv_root/.complete"
    } >"$log" 2>&1
}

# A shell command inside of the root folder.
in_root() {
    zv_root=$zv_root unshare --mount bash -c 'mount --bind /proc "$zv_root/proc" &&
        mount --bind /dev "$zv_root/dev" && exec chroot "$zv_root" /bin/sh -c "$0"' "$1"
}

# The mirror that this machine's packages come from.
debian_mirror() {
    local mirror
    mirror=$(apt-cache policy libc6 | sed -n 's/.* \(https\?:[^ ]*\) bookworm\/main .*/\1/p' | head -1)
    echo "${mirror:-http://deb.debian.org/debian}"
}

# Makes a fresh prefix for a target and keeps one program running in it: starting the first one
# takes seconds, and its system processes would hold on to a test's output.
open_prefix() {
    zv_target=$1
    [ "$zv_target" = i686 ] || unset ZV_WINE_ROOT
    zv_folder=$(mktemp -d "${ZV_WINE_ROOT-}/tmp/zvprefix-XXXXXX")
    # As the programs see it, from inside of their root folder.
    export ZV_WINE_PREFIX=${zv_folder#"${ZV_WINE_ROOT-}"}/prefix
    # Nothing asks for parts of Wine that are not installed.
    export WINEDLLOVERRIDES='mscoree,mshtml='
    trap close_prefix EXIT
    mkfifo "$zv_folder/hold"
    {
        scripts/run-windows "$zv_target" wineboot -i || return
        scripts/run-windows "$zv_target" cmd <>"$zv_folder/hold" &
        scripts/run-windows "$zv_target" cmd /c exit 0
    } </dev/null >"build/wine-$zv_target.log" 2>&1
}

close_prefix() {
    [ -n "${zv_folder-}" ] || return 0
    scripts/run-windows "$zv_target" wineboot -k </dev/null >/dev/null 2>&1
    wait
    rm -rf "$zv_folder"
    zv_folder=
}

# The DLL as a host meets it that nobody here wrote tests around: zvctl.exe and a linked program in
# C, with the system's own tool to look at what they did.
run_hosts() {
    say "driving zvsupport.dll ($1) through zvctl.exe and a host in C"
    # Wine now and then fails to start a program, which says nothing about the library: a second try
    # in a folder of its own decides. The output keeps both.
    drive_hosts "$1" first >"build/windows-$1-hosts.log" 2>&1 ||
        drive_hosts "$1" second >>"build/windows-$1-hosts.log" 2>&1 ||
        stop "the hosts of $1 (their output is in build/windows-$1-hosts.log)"
}

drive_hosts() (
    build=$PWD/build/windows-$1 run=$PWD/scripts/run-windows
    mkdir "$zv_folder/hosts-$2" && cd "$zv_folder/hosts-$2" || exit
    printf '[ZV_HKEY_CONFIG\\Software\\Host]\r\nname=a text\r\n\r\n' >zvregistry.ini
    set -x # which step failed
    "$run" "$1" "$build/zvctl.exe" migrate INI NATIVE && [ ! -e zvregistry.ini ] &&
        "$run" "$1" reg query 'HKLM\Software\Host' /v name >query.txt && cat query.txt &&
        grep 'REG_SZ    a text' query.txt &&
        "$run" "$1" "$build/zvctl.exe" migrate NATIVE INI &&
        grep -A1 'ZV_HKEY_CONFIG.Software.Host' zvregistry.ini &&
        "$run" "$1" "$build/linked_host.exe"
) </dev/null
