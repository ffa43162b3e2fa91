#!/usr/bin/env bash
# script/check finds what it is there to find, and nothing in a sound tree.
. "$(dirname "$0")/common.sh"
tree=$work/tree
scripts_in "$tree"
cd "$tree" || exit 1
mkdir -p dorn/base dorn/loop dorn/net dorn/json dorn/server site/core site/nats station tools
echo 'dorn_layer(base' >dorn/base/CMakeLists.txt
echo 'dorn_layer(loop BELOW base' >dorn/loop/CMakeLists.txt
echo 'dorn_layer(net BELOW loop' >dorn/net/CMakeLists.txt
echo 'dorn_layer(json BELOW base' >dorn/json/CMakeLists.txt
echo 'dorn_layer(server BELOW net json' >dorn/server/CMakeLists.txt
echo '#include "dorn/base/A.h"' >dorn/net/A.cc
echo '#include "dorn/base/A.h"' >dorn/server/A.cc
echo '#include "dorn/json/A.h"' >station/A.cc
git init -q . && git add -A && git -c user.name=n -c user.email=e commit -qm first || fail "git"

script/check --no-tidy >/dev/null || fail "a sound tree is refused"

failures=0
finds() { # FILE CONTENT TEXT: with such a file, the check fails and says so
  local before said
  before=$(cat "$1" 2>/dev/null)
  printf "$2" >"$1"
  if said=$(script/check --no-tidy 2>&1); then
    echo "not found: $3" >&2
    failures=$((failures + 1))
  elif ! grep -qF -e "$3" <<<"$said"; then
    echo "not '$3', but: $said" >&2
    failures=$((failures + 1))
  fi
  if [ -n "$before" ]; then echo "$before" >"$1"; else rm "$1"; fi
}
finds dorn/base/B.cc 'int   a;\n' 'not formatted'
finds dorn/base/B.cc '#include "dorn/loop/A.h"\n' 'dorn/base includes dorn/loop'
finds dorn/loop/B.cc '#include "dorn/json/A.h"\n' 'dorn/loop includes dorn/json'
finds dorn/net/B.cc '#include "dorn/json/A.h"\n' 'dorn/net includes dorn/json'
finds dorn/net/B.cc '#include <dorn/server/A.h>\n' 'dorn/net includes dorn/server'
finds dorn/server/B.h '#include "dorn/dorn.h"\n' 'dorn/server includes dorn,'
finds dorn/server/B.h '#include "station/A.h"\n' 'dorn/server includes station'
finds dorn/server/B.h '#include "tools/dorn-station/A.h"\n' 'dorn/server includes tools'
finds dorn/json/B.h '#include "site/A.h"\n' 'dorn/json includes site'
finds station/B.cc '#include "dorn/model/A.h"\n' 'station includes dorn/model'
finds site/core/B.cc '#include "site/nats/A.h"\n' 'site/core includes site/nats'
finds site/nats/B.cc '#include "dorn/loop/A.h"\n' 'site/nats includes dorn/loop'
finds site/B.h '#include "tools/dorn-station/A.h"\n' 'site includes tools'
finds station/B.cc '#include "dorn/dorn.h"\n' 'station includes dorn,'
finds dorn/net/CMakeLists.txt 'dorn_layer(net\n' 'dorn/net includes dorn/base'
finds dorn/net/CMakeLists.txt 'add_library(net)\n' 'dorn/net is no layer'
finds dorn/loop/B.cc 'class VQDialog;\n' 'below server nothing names it'
finds dorn/base/B.cc '// \x80\n' 'dorn/base/B.cc is not UTF-8'
finds dorn/base/B.cc '// a\r\n' 'dorn/base/B.cc has carriage returns'
finds dorn/base/B.cc '\xef\xbb\xbf// a\n' 'dorn/base/B.cc begins with a byte order mark'
finds dorn/base/B.cc '// a\tb\n' 'dorn/base/B.cc has tabs'
finds script/extra 'a\tb\n' 'script/extra has tabs'
finds dorn/base/B.cc 'auto a = u8"a";\n' 'dorn/base/B.cc has u8 literals'
[ $failures = 0 ] || fail "$failures findings are missing"

# What needs a build, where there is one: stand-ins for what looks at resource files and at the library.
mkdir -p build/dev tests/lint tests/packaging stand-ins
touch build/dev/build.ninja
echo build >.gitignore
for each in stand-ins/cmake stand-ins/ninja stand-ins/abidiff tests/lint/resources.sh tests/packaging/abi.sh; do
  printf '#!/bin/sh\n' >$each
  chmod +x $each
done
PATH=$PWD/stand-ins:$PATH
script/check --no-tidy >/dev/null || fail "a sound tree that has been built is refused"
finds tests/lint/resources.sh '#!/bin/sh\nexit 1\n' 'dorn-lint finds something'
finds tests/packaging/abi.sh '#!/bin/sh\nexit 1\n' 'the binary interface has changed'
finds stand-ins/cmake '#!/bin/sh\necho no rule\nexit 1\n' 'build/dev cannot be built: no rule'
[ $failures = 0 ] || fail "$failures findings of what needs a build are missing"
printf '#!/bin/sh\nexit 1\n' >stand-ins/cmake
script/check --no-tidy --no-build >/dev/null || fail "--no-build builds"
rm -r build

rm dorn/server/A.cc
script/check --no-tidy >/dev/null || fail "a deleted file is missed"

# What keeps it from looking is said, and not taken for a finding.
bin=$work/bin
mkdir "$bin"
for program in /usr/bin/* /bin/*; do [ -e "$bin/$(basename "$program")" ] || ln -s "$program" "$bin"; done
rm "$bin/git"
refuses env PATH="$bin" script/check
says_in_one_line 'script/check: git is missing; script/setup installs it'
refuses env PATH="$bin" script/format --check
says_in_one_line 'script/format: git is missing'
ln -s /usr/bin/git "$bin"
rm "$bin/clang-format"
refuses env PATH="$bin" script/check
says_in_one_line 'script/check: clang-format is missing'
refuses env GIT_TEST_ASSUME_DIFFERENT_OWNER=1 script/check
says_in_one_line 'another user owns this folder'
rm -rf .git
refuses env GIT_CEILING_DIRECTORIES="$work" script/check
says_in_one_line 'is no git clone'
