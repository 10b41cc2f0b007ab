#!/usr/bin/env bash
# usage: check-consumer.sh <kiv build dir> <scratch dir> <host source dir> <README.md>
set -euo pipefail
build=$1 work=$2 host=$3 readme=$4
rm -rf "$work" && mkdir -p "$work"
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" > "$work/install.log"
for f in lib/libkiv.so.2 lib/libkiv.so lib/libvotypes.so lib/cmake/Kiv/KivConfig.cmake \
         lib/cmake/Kiv/KivConfigVersion.cmake lib/pkgconfig/kiv.pc include/kiv/kiv_graph.h; do
  [ -e "$prefix/$f" ] || { echo "missing after install: $f"; exit 1; }
done

# The Designer plugin, when built, lands in Qt's plugin layout and finds the installed library.
if [ -e "$build/designer/libkivdesigner.so" ]; then
  plugin=$prefix/lib/qt5/plugins/designer/libkivdesigner.so
  [ -e "$plugin" ] || { echo "missing after install: $plugin"; exit 1; }
  # grep -q would stop reading early, and ldd's broken pipe would fail the pipeline.
  deps=$(ldd "$plugin")
  grep -q "libkiv.so.2 => $prefix/lib/" <<< "$deps" || { echo "designer plugin misses libkiv"; echo "$deps"; exit 1; }
fi

# The README's quick start is compiled as written: it becomes the host's second program.
awk '/^```cpp quickstart/{on=1; next} /^```/{on=0} on' "$readme" > "$work/quickstart.cpp"
[ -s "$work/quickstart.cpp" ] || { echo "README has no quick start block"; exit 1; }

echo "== find_package(Kiv)"
cmake -S "$host" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" \
      -DQUICKSTART_SOURCE="$work/quickstart.cpp" > "$work/configure.log"
cmake --build "$work/cmake-build" -j 2 > "$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/cmake-build/kivhost"
# The quick start runs until its window is closed: let it run for two seconds.
rc=0; timeout 2 "$work/cmake-build/quickstart" || rc=$?
[ "$rc" -eq 0 ] || [ "$rc" -eq 124 ] || { echo "quickstart failed with $rc"; exit 1; }

echo "== pkg-config kiv"
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
g++ -std=c++17 "$host/main.cpp" -o "$work/kivhost-pc" $(pkg-config --cflags --libs kiv) \
    -Wl,-rpath,"$prefix/lib"
"$work/kivhost-pc"
