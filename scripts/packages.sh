# shellcheck shell=bash disable=SC2034
# The Debian packages each group of work needs. Sourced, not run.
#
# An entry is a package name; "a|b" means the first of them that the distribution has (Debian and Ubuntu
# releases name some differently); a trailing "?" marks a convenience that may be absent without harm.
# docs/dependencies.md says what each is for.

packages_build=(
    g++ cmake ninja-build pkg-config
    libexpat1-dev libicu-dev libspdlog-dev libfmt-dev libdbus-1-dev libasound2-dev libjack-jackd2-dev
    qt6-base-dev "qt6-wayland?" fonts-dejavu-core
    "ccache?" "mold?"
)

# Real-time scheduling for a user who has no such right: asked for over the system bus.
packages_run=(rtkit "dbus-daemon|dbus" "polkitd|policykit-1")

packages_test=(
    libgtest-dev "libgmock-dev|google-mock" librapidcheck-dev
    python3 python3-liblo liblo-tools tshark "dbus-daemon|dbus" iproute2 util-linux locales jackd2
    liblo-dev liboscpack-dev rt-tests
    ola curl
    xvfb openbox xdotool x11-utils weston qt6-wayland
)

packages_ci=(
    clang clang-format clang-tidy llvm "libclang-rt-14-dev|libclang-rt-dev"
    shellcheck
)

# An emulated machine whose kernel has sound (scripts/alsa-vm.sh). Its kernel is downloaded, not installed.
packages_vm=(qemu-system-x86 busybox-static cpio kmod alsa-utils)

# What makes a fresh machine inside a folder (scripts/fresh-machine.sh), for maintainers.
packages_maintain=(debootstrap git)

package_groups=(build run test ci vm maintain)
