#!/usr/bin/env bash
# Run by scripts/test-package as root in a chroot, beside the packages: installs, uses and removes them. The first
# thing that does not hold ends it.
set -euo pipefail
cd /trial

step() { printf -- '-- %s\n' "$*" >&2; }
trap 'printf "trial: failed in line %d: %s\n" "$LINENO" "$BASH_COMMAND" >&2' ERR
quietly() { "$@" >/tmp/log 2>&1 || { tail -n 30 /tmp/log >&2; return 1; }; }
as_user() { su user -s /bin/bash -c "cd && exec bash -euo pipefail $1"; }
# Everything there is, but for what any use of a system changes.
everything() { find / -xdev \( -path /proc -o -path /dev -o -path /tmp -o -path /var/log -o -path /var/cache \
    -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /home -o -path /trial \) -prune -o -print | sort; }

step 'what the packages depend on'
quietly apt-get update
quietly apt-get install -y --no-install-recommends man-db bash-completion zsh fish cmake make g++
simulated=$(apt-get install -s --no-install-recommends ./*.deb)
mapfile -t needed < <(awk '/^Inst / && !/vxcompress/ { print $2 }' <<<"$simulated")
quietly apt-get install -y --no-install-recommends "${needed[@]}"
useradd -m user
everything >/tmp/before

step 'install'
quietly dpkg -i ./*.deb
[[ $(readlink -f /usr/bin/vxcompress) == /usr/lib/vxcompressor/vxcompress ]]
for package in vxcompress libvxcompressor0 libvxcompressor-dev; do
    (cd / && quietly md5sum --check --quiet "/var/lib/dpkg/info/$package"*.md5sums)
    [[ -s /usr/share/doc/$package/copyright ]]
done

step 'use'
as_user /trial/use.sh
step 'completions'
as_user /trial/completions.sh

step 'remove'
quietly dpkg -P vxcompress libvxcompressor-dev libvxcompressor0
everything >/tmp/after
diff /tmp/before /tmp/after >&2
[[ ! -e /usr/lib/vxcompressor ]] && ! ldconfig -p | grep -qi vxcompressor
step 'install by apt alone, and remove'
quietly apt-get install -y --no-install-recommends ./vxcompress_*.deb ./libvxcompressor0_*.deb
quietly vxcompress --version
quietly apt-get purge -y vxcompress libvxcompressor0
everything >/tmp/after
diff /tmp/before /tmp/after >&2
