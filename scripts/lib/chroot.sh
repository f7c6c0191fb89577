# shellcheck shell=bash
# A clean Debian in a chroot; sourced by the scripts that try things in one. They define fail() and say().
#
# The base of each release is kept in the user's cache folder, and so are the packages that go into it. They come from
# where this system gets its own, or from VXC_DEBIAN_MIRROR. The chroot itself lies on a tmpfs in namespaces of its own: it
# is gone with the script, processes and mounts included, however that ends.

chroot_cache() { printf '%s\n' "${XDG_CACHE_HOME:-$HOME/.cache}/vxcompressor/chroot-$1"; } # RELEASE

debian_mirror() {
    local mirror=${VXC_DEBIAN_MIRROR:-} own
    # shellcheck source=/dev/null
    own=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
    [[ -n $mirror ]] || mirror=$(apt-get indextargets --format "\$(SITE)" "Codename: $own" | head -n 1)
    [[ -n $mirror ]] || fail "apt knows no mirror: name one in VXC_DEBIAN_MIRROR"
    printf '%s\n' "$mirror"
}

# In a shell of its own, for the trap.
make_chroot_base() ( # RELEASE: unless there is one; locked for as long as the caller's descriptor 9 is open
    cache=$(chroot_cache "$1")
    [[ ! -f $cache/base.tar ]] || exit 0
    command -v debootstrap >/dev/null ||
        DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends debootstrap >/dev/null
    say "making the base of $1"
    mkdir -p -- "$cache/archives"
    work=$(mktemp -d "$cache/base-XXXXXX")
    trap 'rm -rf -- "$work"' EXIT
    debootstrap --variant=minbase "$1" "$work/root" "$(debian_mirror)" >"$work/log" 2>&1 ||
        { tail -n 20 -- "$work/log" >&2; fail "debootstrap failed"; }
    tar -C "$work/root" -c . -f "$work/base.tar"
    mv -f -- "$work/base.tar" "$cache/base.tar"
)

# Goes on with the script's own --inside, as the first process of namespaces of its own.
in_namespaces() { # ARGUMENT...
    unshare --mount --pid --fork --kill-child "$0" --inside "$@" 9>&-
}

# To be called in there: /mnt becomes the system.
set_up_chroot() { # RELEASE SIZE
    local cache chroot=/mnt device
    cache=$(chroot_cache "$1")
    mount -t tmpfs -o "size=$2,mode=755" vxc "$chroot"
    tar -C "$chroot" -xf "$cache/base.tar"
    mount -t proc proc "$chroot/proc"
    # Not the host's: a package's script could reach its disks.
    mount -t tmpfs -o mode=755 dev "$chroot/dev"
    for device in null zero full random urandom tty; do
        touch "$chroot/dev/$device"
        mount --bind "/dev/$device" "$chroot/dev/$device"
    done
    mkdir -p "$chroot/dev/pts" "$chroot/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=666 devpts "$chroot/dev/pts"
    ln -s pts/ptmx "$chroot/dev/ptmx"
    ln -s /proc/self/fd "$chroot/dev/fd"
    mount --bind "$cache/archives" "$chroot/var/cache/apt/archives"
    # They are kept for the next time.
    printf 'Binary::apt::APT::Keep-Downloaded-Packages "true";\nAPT::Keep-Downloaded-Packages "true";\n' \
        >"$chroot/etc/apt/apt.conf.d/99keep"
    # A mirror whose lists are old is taken there where this system takes it.
    apt-config dump Acquire::Check-Valid-Until >>"$chroot/etc/apt/apt.conf.d/99keep"
    rm -f -- "$chroot/etc/apt/apt.conf.d/docker-clean"
    cp /etc/resolv.conf /etc/hosts "$chroot/etc/"
}

in_chroot() { # VARIABLE=VALUE... COMMAND...
    chroot /mnt env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} "$@"
}
