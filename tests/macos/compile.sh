#!/usr/bin/env bash
# compile.sh ZIG FOLDER: compiles the sources of the programs and the library for macOS on both kinds of
# Mac, with all warnings as errors, into FOLDER. Nothing is linked or run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
zig=$1 folder=$2

# Only the libraries' headers: /usr/include also holds those of this system.
headers="$folder/include"
mkdir -p "$headers"
for header in CLI simdjson.h uriparser utf8proc.h; do
  [[ -e "/usr/include/$header" ]] || { echo "missing: /usr/include/$header" >&2; exit 69; }
  ln -sfn "/usr/include/$header" "$headers/$header"
done

export ZIG_GLOBAL_CACHE_DIR="$PWD/$folder/cache"
target=$(sed -n 's/^set(CMAKE_OSX_DEPLOYMENT_TARGET \([0-9.]*\).*/\1/p' CMakeLists.txt)

generated="$folder/generated/tarnwell"
mkdir -p "$generated/base" "$generated/watch"
version=$(sed -n 's/^project(tarnwell VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
sed "s/@PROJECT_VERSION@/$version/" tarnwell/base/version.h.in > "$generated/base/version.h"
header=$(<tarnwell/watch/packaged_unit.h.in)
unit=$(<packaging/tarnwell-watch.service)
printf '%s\n' "${header/@TARNWELL_WATCH_UNIT@/"$unit"$'\n'}" > "$generated/watch/packaged_unit.h"

flags=(-std=c++20 -O1 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  -I. -I "$folder/generated" -isystem "$headers" -isystem tests/macos/include)
for machine in aarch64 x86_64; do
  objects="$folder/$machine"
  mkdir -p "$objects"
  echo "compiling for macOS $target on $machine" >&2
  # Without the notifications of Linux desktops, which CMake leaves out there.
  git ls-files -co --exclude-standard -- 'tarnwell/*.cpp' ':!tarnwell/watch/*bus*' |
    xargs -P "$(getconf _NPROCESSORS_ONLN)" -I{} sh -c '
      source=$1 object=$2/$(printf %s "$1" | tr / _).o
      shift 2
      "$@" -c -o "$object" "$source" || { echo "failed: $source" >&2; exit 1; }
    ' compile {} "$objects" "$zig" c++ -target "$machine-macos.$target" "${flags[@]}"
  echo "$machine: $(find "$objects" -name '*.o' | wc -l) sources compiled"
done
