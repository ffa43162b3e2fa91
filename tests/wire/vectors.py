#!/usr/bin/env python3
"""The dissector's reader with the texts by which the readers of stations are tested.

usage: vectors.py READER VECTORS
READER is that part of the dissector; what it reads comes out of tshark as JSON, in hexadecimal digits.
"""
import json, os, sys, tempfile
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from captures import Capture, Connection, framed
from dissector import capture_file, fail, tshark

# Behind the reader, in one file with it.
SHOWING = r"""
local proto = Proto("vectors", "Vectors")
local shown_json = ProtoField.string("vectors.json", "JSON")
proto.fields = { shown_json }

local function quoted(text)
  return '"' .. clean(text):gsub('[%c"\\]', function(c) return ("\\u%04x"):format(c:byte()) end) .. '"'
end

-- As stations take it: of what is no number of JSON the digits that it begins with.
local function number(text)
  if isJsonNumber(text) then return text end
  local digits = tonumber(text:match("^%-?%d+") or 0)
  return ("%d"):format(math.max(-2147483648, math.min(2147483647, digits)))
end

local function written(value)
  local parts = {}
  if value.kind == "object" then
    for _, member in ipairs(value.members) do
      if member[2].kind ~= "nothing" then parts[#parts + 1] = quoted(member[1]) .. ":" .. written(member[2]) end
    end
    return "{" .. table.concat(parts, ",") .. "}"
  elseif value.kind == "array" then
    for index, element in ipairs(value.elements) do parts[index] = written(element) end
    return "[" .. table.concat(parts, ",") .. "]"
  end
  return value.kind == "string" and quoted(value.text) or value.kind == "number" and number(value.text) or value.text
end

function proto.dissector(tvb, pinfo, tree)
  local value, isJson = read(tvb:raw():sub(2, -2))
  local how = value and (isJson and "strict" or "tolerant") or "unreadable"
  local text = how .. " " .. (value and written(value) or "null")
  tree:add(shown_json, tvb(), (text:gsub(".", function(c) return ("%02x"):format(c:byte()) end)))
end
DissectorTable.get("tcp.port"):add(5000, proto)
"""


def number(text):
    """As it is written: 1e2 is not 100, nor "1" the number."""
    return ("number", text)


def parsed(text):
    return json.loads(text, parse_int=number, parse_float=number)


def read_by(script, vectors):
    """How each text is read, and what is in it."""
    path = capture_file()
    capture = Capture(path)
    for index, vector in enumerate(vectors):
        text = bytes.fromhex(vector["hex"]) if "hex" in vector else vector["text"].encode()
        Connection(capture, 20000 + index).say(Connection.HOST, framed(text))
    capture.close()
    shown = tshark(script, path, "-Y", "vectors.json", "-T", "fields", "-e", "vectors.json").split()
    lines = [bytes.fromhex(line).decode() for line in shown]
    return [(how, parsed(text)) for how, text in (line.split(" ", 1) for line in lines)]


def main(reader, vectors_file):
    text = open(vectors_file).read()
    # Wireshark would end a text at a zero byte: the dissector shows another character.
    wanted = parsed(text.replace("\\u0000", "\\ufffd"))["vectors"]
    pairs = list(zip(parsed(text)["vectors"], wanted))
    # It is not told that a host stores its texts as they are.
    pairs = [pair for pair in pairs if pair[0].get("reading") != "literal"]
    with tempfile.TemporaryDirectory() as folder:
        script = os.path.join(folder, "vectors.lua")
        with open(script, "w") as out:
            out.write(open(reader).read() + SHOWING)
        got = read_by(script, [vector for vector, _ in pairs])
    if len(got) != len(pairs) or len(got) < 80:
        fail("%d texts of %d are read" % (len(got), len(pairs)))
    wrong = ["%s: %r" % (vector["rule"], told) for told, (_, vector) in zip(got, pairs)
             if told != (vector["how"], vector.get("json"))]
    if wrong:
        fail("\n".join(wrong))
    print("%d texts" % len(got))


main(*sys.argv[1:])
