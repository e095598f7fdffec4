# Sourced by the tests of the packages, instead of real_program.sh, which it sources. Makes a package twice, in two
# folders, and expects the same bytes: two_packages.sh SYSTEM RUNNER SOURCE_FOLDER PROGRAM PACKAGE_END. Sets top to the
# source folder, version, name, which is that of the package's folder, and package, the file.

top=$(realpath "$3")
"$top/tools/make_package" "$1"
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "${BASH_SOURCE[0]}")/real_program.sh" "$2" "$top/build/$4"

# The second one in a copy elsewhere, by a user with another umask, time zone, locale and compiler flags.
copy=$work/somewhere/else
mkdir -p "$copy/build"
(cd "$top" && tar --exclude=./build --exclude=./dist -c .) | tar -x -C "$copy"
cp -r "$top/build/font" "$copy/build"
(umask 077 && TZ=Asia/Tokyo LC_ALL=C.UTF-8 CXXFLAGS=-O1 LDFLAGS=-g "$copy/tools/make_package" "$1")

version=$(sed -n 's/^project(tarnwick VERSION \([0-9.]*\) .*/\1/p' "$top/CMakeLists.txt")
name=tarnwick-$version
package=$top/dist/$name-$5
cmp "$package" "$copy/dist/$name-$5" || failed 'the packages differ'
