#!/usr/bin/env bash
# fetch.sh FOLDER: the sources of the libraries that Debian has for Linux only, and the Direct3D compilers, into FOLDER.
# Sources come from the machine's own Debian mirror, the compilers from the npm package webgpu; nothing is installed.
# Files that lie there with the right content are kept; a wrong content ends the script.
set -euo pipefail
folder=$(mkdir -p "$1" && cd "$1" && pwd)
cd "$folder"

cat >SHA256SUMS <<'TEXT'
7dedb6b9adf331559daea614a83b8de42a753e685ec8e1c4bdb4529eb880b0d1  freetype_2.12.1+dfsg.orig.tar.xz
566fc77315878473d9a6bd815f7de78c73734acdcb745c3dde8579560ac5440e  highway_1.0.3.orig.tar.gz
ea5592230f5ab917bea3ceab266cf38eb4aa4a523078d46eac0f5a89c52304db  imath_3.1.6.orig.tar.gz
7bf5a8a28cc69bcfa8cb214f2c3095703c6b73ac5fba4d5480c205331d9494df  libwebp_1.2.4.orig.tar.gz
a60473ffdb7b4260c08bfa19c2ccea0438edac11193c3afbbb1f17fbcf6c6132  libzip_1.7.3.orig.tar.xz
8cf4bbb65e77ec348d052c8d6230eba66d435bddf64c8b5be2fcb16880c19953  libzstd_1.5.4+dfsg2.orig.tar.xz
a00e9d2f2f664186e4202db9299397f851aea71b36a35e74910b8820e380d441  libpng1.6_1.6.39.orig.tar.gz
7e9111b8bb59c8800bf6d0b06afe7b0891937443d2dae1ee1101c8e2ede6a7ef  onetbb_2021.8.0.orig.tar.xz
93925805c1fc4f8162b35f0ae109c4a75344e6decae5a240afdfce25f8a433ec  openexr_3.1.5.orig.tar.gz
TEXT
cat >SHA256SUMS.compilers <<'TEXT'
289767b49dc8525bce262ea06fee4ef9fced2e131a55b25654ce871c1f0498b2  d3dcompiler_47.dll
04cf618004bf19f789f54e8931c7f7106223bccd354b093c4ff725c748512602  dxcompiler.dll
TEXT

if ! sha256sum --check --status SHA256SUMS 2>/dev/null; then
    mkdir -p apt/lists/partial apt/cache/archives/partial
    # The machine's sources, as sources of source packages, in a configuration of our own.
    { sed -n 's/^deb /deb-src /p' /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null || true; } >apt/sources.list
    mkdir -p apt/sources.list.d
    for file in /etc/apt/sources.list.d/debian.sources; do
        [ -e "$file" ] && sed 's/^Types:.*/Types: deb-src/' "$file" >"apt/sources.list.d/$(basename "$file")"
    done
    options=(-qq -o Acquire::Retries=3 -o "Dir::Etc::SourceList=$folder/apt/sources.list" -o "Dir::Etc::SourceParts=$folder/apt/sources.list.d"
        -o "Dir::State::Lists=$folder/apt/lists" -o "Dir::Cache=$folder/apt/cache" -o APT::Sandbox::User=)
    apt-get "${options[@]}" update
    apt-get "${options[@]}" source --download-only --tar-only freetype highway imath libpng1.6 libwebp libzip libzstd onetbb openexr
    rm -rf apt
    sha256sum --check --quiet SHA256SUMS || {
        echo "fetch.sh: the libraries' sources are not those of Debian 12, which this build is made for" >&2
        exit 1
    }
fi

if ! sha256sum --check --status SHA256SUMS.compilers 2>/dev/null; then
    npm pack --silent webgpu@0.6.2 >/dev/null
    tar -xzf webgpu-0.6.2.tgz --strip-components=3 --wildcards 'package/dist/win32-x64/*d*xcompiler*' \
        'package/dist/win32-x64/d3dcompiler_47.dll'
    rm webgpu-0.6.2.tgz
    sha256sum --check --status SHA256SUMS.compilers
fi
