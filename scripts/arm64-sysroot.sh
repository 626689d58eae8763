#!/usr/bin/env bash
# Downloads the arm64 packages that building and testing need, of this computer's Debian release, and unpacks
# them into a folder that the cross compiler and qemu take for the root of an arm64 system:
#   scripts/arm64-sysroot.sh [FOLDER]        default: build/arm64-sysroot
# With an apt of its own: needs no root and adds no architecture to this computer. Does nothing if FOLDER holds
# them already; remove it to get newer ones.
set -euo pipefail
cd "$(dirname "$0")/.."
sysroot=$(realpath --no-symlinks "${1:-build/arm64-sysroot}")
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")

# The libraries of the groups that an ordinary build needs, not their programs; and umockdev, of which the
# simulator's tests load a library.
mapfile -t packages < <(awk '
    $1 == "#" { wanted = $2 == "build" || $2 == "tests" }
    wanted && /^(lib.*-dev$|nlohmann-json|zlib1g-dev)/ && !/^libclang/' scripts/packages.txt)
packages+=(libc6-dev libstdc++-12-dev umockdev)
stamp=$(cat "$0" <(echo "$sysroot $codename ${packages[*]}") | sha256sum)
[ "$(cat "$sysroot/.made-of" 2>/dev/null)" != "$stamp" ] || exit 0

rm -rf "$sysroot" "$sysroot.part"
new=$sysroot.part/root
apt=$sysroot.part/apt
mkdir -p "$new" "$apt"/{lists,archives}/partial
cat >"$apt/sources.list" <<END
deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian $codename main
deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian $codename-updates main
deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian-security $codename-security main
END
: >"$apt/status"
cat >"$apt/apt.conf" <<END
APT::Architecture "arm64";
#clear APT::Architectures;
APT::Architectures "arm64";
APT::Install-Recommends "false";
APT::Sandbox::User "";  # nobody else can write to the folder
Acquire::Languages "none";
Acquire::Retries "3";
Dir::State "$apt";
Dir::State::status "$apt/status";
Dir::State::lists "$apt/lists";
Dir::Cache "$apt";
Dir::Cache::archives "$apt/archives";
Dir::Etc::sourcelist "$apt/sources.list";
Dir::Etc::sourceparts "/dev/null";
# What a computer does after its own updates.
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
#clear DPkg::Post-Invoke;
END
echo "Downloading arm64 packages…"
apt_get() {
    apt-get --config-file "$apt/apt.conf" --quiet --quiet --yes "$@" >"$apt/log" 2>&1 || {
        cat "$apt/log" >&2
        exit 1
    }
}
apt_get update
apt_get --download-only install "${packages[@]}"

# One /usr, as on Debian.
mkdir -p "$new"/usr/{bin,lib,sbin}
for folder in bin lib sbin; do
    ln -s "usr/$folder" "$new/$folder"
done
# What dpkg-shlibdeps asks which package a library belongs to: a library by its path on this computer.
database=$sysroot.part/dpkg
mkdir -p "$database/info"
echo 1 >"$database/info/format"  # files have the names of packages with their architectures
for package in "$apt"/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" >"$apt/package.tar"
    tar --extract --file "$apt/package.tar" --directory "$new" --keep-directory-symlink --no-same-owner
    name=$(dpkg-deb --field "$package" Package)
    [ "$(dpkg-deb --field "$package" Multi-Arch)" != same ] || name+=:arm64
    tar --list --file "$apt/package.tar" |
        sed --quiet "s|^\./\(usr/\)\?lib/\(.*\.so.*\)|$sysroot/usr/lib/\2|p" >"$database/info/$name.list"
    rm -rf "$apt/control"
    dpkg-deb --control "$package" "$apt/control"
    for file in shlibs symbols; do
        [ ! -e "$apt/control/$file" ] || mv "$apt/control/$file" "$database/info/$name.$file"
    done
    { dpkg-deb --field "$package" && printf 'Status: install ok installed\n\n'; } >>"$database/status"
done
# qemu shows its programs what is in here in place of the computer's own files: that is to be headers and
# libraries, and what CMake and pkg-config find these by.
keep() {
    find "$1" -mindepth 1 -maxdepth 1 -not \( "${@:2}" \) -exec rm -rf {} +
}
keep "$new" -name usr -o -name lib
keep "$new/usr" -name include -o -name lib -o -name share
keep "$new/usr/lib" -name aarch64-linux-gnu -o -name gcc -o -name 'ld-linux-*' -o -name pkgconfig
keep "$new/usr/share" -name cmake -o -name pkgconfig
# An absolute link would lead out of the folder.
find "$new" -type l -lname '/*' -print0 | while IFS= read -r -d '' link; do
    ln --symbolic --force --no-dereference --relative "$new$(readlink "$link")" "$link"
done
mkdir -p "$new/var/lib"
mv "$database" "$new/var/lib/dpkg"
echo "$stamp" >"$new/.made-of"
mv "$new" "$sysroot"
rm -rf "$sysroot.part"
echo "$sysroot: $(du --summarize --block-size=M "$sysroot" | cut --fields=1)"
