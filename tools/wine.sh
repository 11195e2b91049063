# shellcheck shell=bash disable=SC2016,SC2034
# Sourced by ./dev: a Wine of our own, 32 and 64 bit. It lives in a root folder below the user's cache folder, made
# once per machine by debootstrap and shared by every clone, so that the machine itself needs no 32-bit packages.
# What runs in it runs as an ordinary user, in mount and process namespaces of its own: bind mounts and every process
# end with the command that needed them, however it ends, and nothing else can be hit. Relies on `need`, `step` and
# `as_root` of ./dev.

wine_cache=${XDG_CACHE_HOME:-${HOME:?}/.cache}/talvo
wine_root=$wine_cache/wine-2  # counts up when what is made below changes
wine_home=$wine_root/home/wine

need_wine() {
  if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
    echo "The Windows side needs root: its Wine lives in a root folder of its own." >&2
    echo "Run this as root, or install sudo." >&2
    exit 1
  fi
  if [ ! -d "$wine_root" ]; then
    need debootstrap "makes the root folder that Wine lives in" command -v debootstrap
  fi
}

# One user of the Wine root at a time: registrations of two runs would mix. The lock goes with the last process that
# holds its descriptor.
wine_lock() {
  mkdir -p "$wine_cache"
  exec {wine_lock_descriptor}>"$wine_cache/lock"
  if ! flock --nonblock "$wine_lock_descriptor"; then
    echo "Another run uses Wine on this machine; waiting for it."
    flock "$wine_lock_descriptor"
  fi
}

# isolated COMMAND...: as root, in namespaces of its own. The first process there is a shell that ends on Ctrl-C; when
# it ends, the kernel ends all others.
isolated() {
  as_root unshare --mount --pid --fork --kill-child bash -c 'trap "exit 130" INT TERM; "$@"' isolated "$@"
}

# in_root ROOT USER COMMAND...: in that root folder. Of the environment only DISPLAY and the proxy go along.
in_root() {
  local root=$1 user=$2
  shift 2
  isolated bash -c '
      mount -t proc proc "$0/proc" && mount --rbind /dev "$0/dev" && exec chroot --userspec="$1" "$0" "${@:2}"' \
    "$root" "$user" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 ${DISPLAY:+DISPLAY="$DISPLAY"} \
    ${http_proxy:+http_proxy="$http_proxy"} "$@"
}

in_wine_root() { in_root "$wine_root" wine env HOME=/home/wine "$@"; }

# The archive that this machine gets its own packages from.
machine_archive() {
  apt-get indextargets --format '$(CREATED_BY) $(RELEASE) $(COMPONENT) $(REPO_URI)' |
    awk -v release="$1" '$1 == "Packages" && $2 == release && $3 == "main" { print $4; exit }'
}

fill_root() {
  local root=$1 release archive certificates=/etc/ssl/certs/ca-certificates.crt
  release=$(. /etc/os-release && echo "${VERSION_CODENAME:?}")
  archive=$(machine_archive "$release")
  if [ -z "$archive" ]; then
    as_root apt-get update
    archive=$(machine_archive "$release")
  fi
  if [ -z "$archive" ]; then
    echo "apt knows no archive for the release '$release' here; one is needed to make the root folder of Wine."
    return 1
  fi
  isolated env ${http_proxy:+http_proxy="$http_proxy"} \
    debootstrap --arch=amd64 --variant=minbase "$release" "$root" "$archive" || return 1
  if [ -e "$certificates" ]; then as_root install -D "$certificates" "$root$certificates"; fi
  as_root cp /etc/hosts "$root/etc/hosts"
}

install_wine() {
  in_root "$1" root bash -e <<'SCRIPT'
export DEBIAN_FRONTEND=noninteractive
echo force-unsafe-io >/etc/dpkg/dpkg.cfg.d/fast
printf 'path-exclude=/usr/share/%s/*\n' doc locale man >/etc/dpkg/dpkg.cfg.d/small
dpkg --add-architecture i386
apt-get update
apt-get install -y --no-install-recommends wine wine32:i386 wine64 fonts-wine xvfb
apt-get clean
rm -rf /var/lib/apt/lists/*
useradd --create-home --shell /bin/bash wine
SCRIPT
}

# Registry files of a fresh prefix are kept: every run begins with them. The script host enters itself when it first
# runs.
make_prefix() {
  in_root "$1" wine env HOME=/home/wine WINEPREFIX="/home/wine/prefix$2" WINEARCH="win$2" WINEDEBUG=-all \
    WINEDLLOVERRIDES="mscoree,mshtml=" "WINELOADER=/usr/lib/wine/wine${2/32/}" bash -e <<'SCRIPT'
cd
"$WINELOADER" wineboot --init
touch empty.vbs
"$WINELOADER" cscript //nologo empty.vbs
/usr/lib/wine/wineserver --wait
mkdir -p "fresh/${WINEPREFIX##*/}"
cp "$WINEPREFIX"/*.reg "fresh/${WINEPREFIX##*/}/"
SCRIPT
}

# Makes the root folder unless it is there. It gets its name when it is complete; a half-made one is thrown away.
setup_wine() {
  wine_lock || return 1
  [ -d "$wine_root" ] || make_wine_root
}

make_wine_root() {
  local part=$wine_root.part log=$wine_cache/setup http_proxy=${http_proxy:-} proxy=
  eval "$(apt-config shell proxy Acquire::http::Proxy)"
  if [ -z "$http_proxy" ]; then http_proxy=$proxy; fi
  echo "Making a small Debian with Wine in it, once per machine, in $wine_cache"
  echo "(two to five minutes and 3.5 GB; nothing of it is installed on the machine itself)"
  as_root rm -rf "$part"
  step "a small Debian (debootstrap)" "$log-1.log" fill_root "$part" &&
    step "Wine, 32 and 64 bit" "$log-2.log" install_wine "$part" &&
    step "a 32-bit Windows" "$log-3.log" make_prefix "$part" 32 &&
    step "a 64-bit Windows" "$log-4.log" make_prefix "$part" 64 &&
    as_root mv "$part" "$wine_root" &&
    echo
}
