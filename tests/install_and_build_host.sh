#!/usr/bin/env bash
# Installs the project from its build tree into a temporary prefix, builds
# examples/host against the installed package and runs it on the sample
# installation.
# Usage: install_and_build_host.sh BUILD_DIR SOURCE_DIR [SANITIZERS]
set -euo pipefail
build="$1"
source="$2"
sanitize=()
# A host of sanitized libraries must itself be linked with the sanitizers.
if [ -n "${3:-}" ]; then
  sanitize=(-DCMAKE_CXX_FLAGS="-fsanitize=$3" -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=$3")
fi
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$source/examples/host" -B "$work/host" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_BUILD_TYPE=Release "${sanitize[@]}" >/dev/null
cmake --build "$work/host" >/dev/null
output="$("$work/host/tavrel-host" "$work/prefix/share/tavrel/installation/tavrel.cfg")"
echo "$output"
expected="tavrel://\${TAVREL_HOME}/tavrel.cfg
2 versions"
if [ "$output" != "$expected" ]; then
  echo "unexpected output; wanted:" >&2
  echo "$expected" >&2
  exit 1
fi
# The installed tool finds its libraries and its sample installation by itself.
env -u TAVREL_CONFIG "$work/prefix/bin/tavrel" uri
