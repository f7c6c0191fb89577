# shellcheck shell=bash
# Sources of others, for scripts that build programs of them. Sourced; needs say() and fail().

# mozjpeg's sources travel in an npm package; Debian's own cjpeg reads neither JPEG nor PNG.
# shellcheck disable=SC2034  # for those who source this
mozjpeg_package=mozjpeg@8.0.0
# shellcheck disable=SC2034
mozjpeg_sha512=Ca2Yhah9hG0Iutgsn8MOrAl37P9ThnKsJatjXoWdUO+8X8GeG/6ahvHZrTyqvbs6leMww1SauWUCao/L9qBuFQ==

# Unpacks one archive of an npm package into the folder "source", in the working folder.
#
#   unpack_from_npm PACKAGE@VERSION SHA512 ARCHIVE LOG
unpack_from_npm() {
    say "fetching $1"
    npm pack "$1" --ignore-scripts --silent >>"$4" 2>&1 || fail_with_log "$4"
    local packed=${1/@/-}.tgz
    printf '%s  %s\n' "$(base64 -d <<<"$2" | od -An -v -tx1 | tr -d ' \n')" "$packed" |
        sha512sum --check --status || fail "the package $1 is not the expected one"
    tar -xzOf "$packed" "$3" | tar -xz --one-top-level=source --strip-components=1
}

# An npm from elsewhere will do, and Debian's package would conflict with it.
npm_packages() { command -v npm >/dev/null || echo npm; }

fail_with_log() {
    tail -n 30 -- "$1" >&2
    fail 'a step failed; the end of its log is above'
}

# Installs those of Debian's packages that are not there: asks first, so a second run takes a moment. With
# without_services=1 no service that comes with them is started.
install_missing() {
    local package states missing=()
    # One question for all; only when the answer is not a plain yes, one for each.
    if ! states=$(dpkg-query -W -f='${db:Status-Status}\n' "$@" 2>/dev/null) || grep -qvx installed <<<"$states"; then
        for package in "$@"; do
            dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
                missing+=("$package")
        done
    fi
    ((${#missing[@]})) || return 0
    [[ $EUID -eq 0 ]] || command -v sudo >/dev/null ||
        fail "as root, run: apt-get install --no-install-recommends ${missing[*]}"
    say "installing ${missing[*]}"
    # One source out of reach need not be the one that is needed.
    apt_get update || say 'not every package list could be refreshed'
    if [[ -n ${without_services:-} && ! -e /usr/sbin/policy-rc.d ]]; then
        install_without_services "${missing[@]}"
    else
        apt_get install -y --no-install-recommends "${missing[@]}"
    fi
}

# Debian starts a service with its package, unless this file says no. In a shell of its own, for the traps: the file must
# not stay.
install_without_services() (
    policy=/usr/sbin/policy-rc.d
    trap 'as_root rm -f -- "$policy"' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    printf '#!/bin/sh\nexit 101\n' | as_root install -m 755 /dev/stdin "$policy"
    apt_get install -y --no-install-recommends "$@"
)

as_root() {
    if [[ $EUID -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

apt_get() {
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -o Acquire::Retries=3 -o DPkg::Lock::Timeout=300 -qq "$@" >&2
}
