#!/usr/bin/env bash
# Runs a program in an emulated machine whose kernel has the sequencer of ALSA, cards without hardware and an
# empty network. For machines whose own kernel has no sound, as those of most build services.
#
#   scripts/alsa-vm.sh FOLDER PROGRAM [ARGUMENT...]
#
# FOLDER keeps the kernel for the next time. The machine sees the whole file system of this one, read-only, so
# the program runs as it was built; it may write to /run and /dev/shm only. Prints what the program prints;
# exit status that of the program, or 1 when the machine did not come so far. The kernel is that of the
# distribution, unpacked and not installed.
#
# Environment: MARVO_VM_SECONDS, the bound for all of it (default 420).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mkdir -p "$1"
folder=$(cd "$1" && pwd)
shift
# What the program needs of the kernel, with what those need in turn.
modules=(virtio_pci 9pnet_virtio 9p snd-seq snd-seq-midi snd-seq-dummy snd-hrtimer snd-virmidi)

download_kernel() {
    local package
    package=$(apt-cache depends linux-image-amd64 | sed -n 's/^ *Depends: \(linux-image-[0-9].*\)/\1/p' | head -n 1)
    if [ -z "$package" ]; then
        printf 'The distribution tells of no kernel package\n' >&2
        return 1
    fi
    apt-get -o APT::Sandbox::User=root download "$package" >&2
}

fetch_kernel() {
    rm -rf "$folder/kernel.part"
    mkdir -p "$folder/kernel.part"
    (
        cd "$folder/kernel.part"
        # Old lists name versions that the archive has dropped: renew them once and try again.
        if ! download_kernel; then
            apt-get -o DPkg::Lock::Timeout=300 -qq update >&2
            download_kernel
        fi
        dpkg-deb -x ./*.deb .
        rm -f ./*.deb
        depmod -b . "$(ls lib/modules)"
    )
    rm -rf "$folder/kernel"
    mv "$folder/kernel.part" "$folder/kernel"
}

# The first program of the machine: loads the modules, brings the file system up and runs the guest script.
write_init() {
    cat >"$1" <<'END'
#!/bin/busybox sh
/bin/busybox --install -s /bin
export PATH=/bin
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
for module in /modules/*; do
    options=
    case $module in *virmidi*) options=midi_devs=2 ;; esac
    insmod "$module" $options || echo "cannot load $module"
done
mount -t 9p -o trans=virtio,version=9p2000.L,ro,msize=262144,cache=loose host /host || echo "no file system"
mount --bind /dev /host/dev
mount -t proc proc /host/proc
mount -t sysfs sys /host/sys
mount -t tmpfs run /host/run
mkdir -p /host/dev/shm
mount -t tmpfs shm /host/dev/shm
cp /guest /host/run/guest
ip link set lo up
chroot /host /bin/bash /run/guest
echo "GUEST-STATUS $?"
poweroff -f
END
    chmod +x "$1"
}

make_initramfs() {
    local root=$folder/root version module list number=100
    version=$(ls "$folder/kernel/lib/modules")
    rm -rf "$root"
    mkdir -p "$root"/{bin,modules,proc,sys,dev,host}
    cp "$(command -v busybox)" "$root/bin/busybox"
    list=$(for module in "${modules[@]}"; do
        modprobe -d "$folder/kernel" -S "$version" --show-depends "$module"
    done | awk '$1 == "insmod" && !seen[$2]++ { print $2 }')
    while IFS= read -r module; do
        cp "$module" "$root/modules/$number-$(basename "$module")"
        number=$((number + 1))
    done <<<"$list"
    {
        printf 'cd %q\n' "$PWD"
        printf 'export MARVO_E2E_NAMESPACE=1 GTEST_COLOR=no HOME=/run PATH=/usr/sbin:/usr/bin:/sbin:/bin\n'
        printf 'exec'
        printf ' %q' "$@"
        printf '\n'
    } >"$root/guest"
    write_init "$root/init"
    (cd "$root" && find . | cpio -o -H newc --quiet | gzip -1) >"$folder/initramfs.gz"
}

program=$(readlink -f "$1")
shift
if [ ! -d "$folder/kernel" ]; then fetch_kernel; fi
make_initramfs "$program" "$@"
kernel=("$folder"/kernel/boot/vmlinuz-*)
log=$folder/console.log
# Emulated altogether: inside other machines acceleration is there or works only by chance.
timeout --kill-after=10 "${MARVO_VM_SECONDS:-420}" qemu-system-x86_64 -accel tcg -cpu max -m 1024 -smp 1 \
    -nographic -no-reboot -nic none -serial mon:stdio -kernel "${kernel[0]}" -initrd "$folder/initramfs.gz" \
    -append "console=ttyS0 quiet panic=-1 tsc=reliable mitigations=off" \
    -virtfs local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap </dev/null |
    tr -d '\r' | tee "$log" || true
status=$(sed -n 's/^GUEST-STATUS \([0-9]*\)$/\1/p' "$log" | tail -n 1)
if [ -z "$status" ]; then
    printf 'The emulated machine did not come to its end; its console is in %s\n' "$log" >&2
    exit 1
fi
exit "$status"
