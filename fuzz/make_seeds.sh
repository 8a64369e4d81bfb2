#!/usr/bin/env bash
# Writes the seed inputs of stl_reader_fuzz into the directory given: one
# small file of each shape the readers know, so that the fuzzer starts from
# inputs that reach the end of a facet instead of having to find the grammar.
set -euo pipefail
out=${1:?usage: make_seeds.sh DIR}
mkdir -p "$out"

facet() {  # normal, then three corners, each "x y z"
  printf '  facet normal %s\n    outer loop\n' "$1"
  printf '      vertex %s\n' "$2" "$3" "$4"
  printf '    endloop\n  endfacet\n'
}

{
  echo 'solid tiny'
  facet '0 0 1' '0 0 0' '1 0 0' '0 1 0'
  echo 'endsolid tiny'
} >"$out/text_one_facet.stl"

# Several solids: two facets, none, and a last one without its "solid" line,
# written with exponents, signs and CRLF line ends.
{
  echo 'solid first'
  facet '0 0 1' '0 0 0' '1 0 0' '0 1 0'
  facet '0 0 -1' '0 0 0' '0 1 0' '1 0 0'
  echo 'endsolid first'
  echo 'solid empty'
  echo 'endsolid empty'
  facet '-1.5e+00 2E-3 .5' '1e10 -0 +3' '1.25 2.5 3.75' '-7 8 9' | sed 's/$/\r/'
  printf 'endsolid\r\n'
} >"$out/text_several_solids.stl"

# Binary, little-endian: 80 header bytes, a uint32 count, then per facet
# twelve float32 (normal, three corners) and a uint16 attribute byte count.
zero='\x00\x00\x00\x00'
one='\x00\x00\x80\x3f'        # 1.0f
minus_one='\x00\x00\x80\xbf'  # -1.0f
bytes() { for b in "$@"; do printf "$b"; done; }
header() { printf '%-80s' "$1"; bytes "$2"; }

{
  header 'binary seed' '\x01\x00\x00\x00'
  bytes $zero $zero $one  $zero $zero $zero  $one $zero $zero  $zero $one $zero  '\x00\x00'
} >"$out/binary_one_facet.stl"

# A count of three for two facets, the first with three attribute bytes: the
# last facet is missing and reads as zeros.
{
  header 'binary seed with attributes, truncated' '\x03\x00\x00\x00'
  bytes $zero $zero $minus_one  $zero $zero $zero  $zero $one $zero  $one $zero $zero  '\x03\x00abc'
  bytes $one $zero $zero  $one $zero $zero  $one $one $zero  $one $zero $one  '\x00\x00'
} >"$out/binary_attributes_truncated.stl"
