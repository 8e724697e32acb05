# Sourced by the scripts in this folder: makes sure the build tools and libraries are
# present, installing missing Debian packages with apt-get when run as root.

nycert_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Debian package, and a file or command that shows it is installed.
nycert_packages=(
  "g++:/usr/bin/g++"
  "cmake:/usr/bin/cmake"
  "python3:/usr/bin/python3"
  "ninja-build:/usr/bin/ninja"
  "pkg-config:/usr/bin/pkg-config"
  "libssl-dev:/usr/include/openssl/evp.h"
  "openssl:/usr/bin/openssl"
  "libcurl4-openssl-dev:/usr/share/doc/libcurl4-openssl-dev"
  "libgtest-dev:/usr/include/gtest/gtest.h"
  "libgmock-dev:/usr/include/gmock/gmock.h"
  "libbenchmark-dev:/usr/include/benchmark/benchmark.h"
)

nycert_setup() {
  local extra=("$@") missing=() entry
  for entry in "${nycert_packages[@]}" "${extra[@]}"; do
    [ -e "${entry#*:}" ] || missing+=("${entry%%:*}")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null; then
    echo "installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq && apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  else
    echo "missing packages; install them with: sudo apt-get install ${missing[*]}" >&2
    return 1
  fi
}

# nycert_build DIR [cmake options...]: configure once, then build incrementally.
nycert_build() {
  local dir=$1
  shift
  cmake -S "$nycert_root" -B "$nycert_root/$dir" -G Ninja "$@" >/dev/null
  cmake --build "$nycert_root/$dir"
}

# mbedTLS, only for the benchmark, which measures its decoders beside OpenSSL's.
nycert_bench_packages=("libmbedtls-dev:/usr/include/mbedtls/x509_crt.h")

# The libFuzzer build (clang, with sanitizers) that test.sh replays the
# corpora in and fuzz.sh runs campaigns in.
nycert_fuzz_packages=("clang:/usr/bin/clang++"
  "libclang-rt-dev:/usr/lib/llvm-14/lib/clang/14.0.6/lib/linux/libclang_rt.fuzzer-x86_64.a")
nycert_build_fuzz() {
  CXX=clang++ nycert_build build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DNYCERT_FUZZ=ON \
    -DNYCERT_BUILD_TESTS=OFF -DNYCERT_BUILD_BENCH=OFF -DNYCERT_BUILD_EXAMPLES=OFF -DNYCERT_BUILD_TOOLS=OFF
}
