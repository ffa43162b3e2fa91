-- Shows in Wireshark what stations and hosts of dialogs say to each other. docs/wire.md tells how to
-- install it and what it shows.
--
--   STX text ETX                      one text, of one command or several
--   STX {"Command":"PUTFILE",
--        "Length":n,...} ETX n bytes  n raw bytes behind it, unless it has a "Status"
--
-- Nothing is kept from one packet to the next: a text with its file is one unit, which Wireshark puts
-- together from segments, so that packets can be looked at in any order.

local STX, ETX = "\2", "\3"
local MAX_TEXT = 16 * 1024 * 1024         -- Stations hold no longer one.
local MAX_STATION_TEXT = 512 * 1024       -- The host closes the connection at a longer one.
local MAX_PAYLOAD = 64 * 1024 * 1024
local MAX_PROXY_LINE = 107
local MAX_DEPTH = 1024                    -- Of a text.
local MAX_TREE_DEPTH = 40                 -- Of what is shown; Wireshark bears no deep trees,
local MAX_TREE_ITEMS = 100000             -- and no large ones.
local MAX_SHOWN = 4000                    -- Bytes of a value.
local LONGEST_KEY_AHEAD = 1024
local MAX_LOOKS = 1024                    -- At a text that does not end, in pieces as small as its segments.

-- Texts -----------------------------------------------------------------------------------------

-- What a character of several bytes begins with, and how many further ones it has.
local BEGINNINGS = {
  { "^[\194-\223][\128-\191]", 0 },
  { "^\224[\160-\191]", 1 }, { "^\237[\128-\159]", 1 }, { "^[\225-\236\238\239][\128-\191]", 1 },
  { "^\240[\144-\191]", 2 }, { "^\244[\128-\143]", 2 }, { "^[\241-\243][\128-\191]", 2 } }

-- Behind the character at `at`, and whether it is one; else behind what may begin one.
local function characterEnd(bytes, at)
  for _, beginning in ipairs(BEGINNINGS) do
    local _, last = bytes:find(beginning[1], at)
    if last then
      local further = #bytes:match("^[\128-\191]*", last + 1)
      return last + 1 + math.min(further, beginning[2]), further >= beginning[2]
    end
  end
  return at + 1, false
end

-- What is no UTF-8 becomes U+FFFD, as does a zero byte, at which Wireshark would end the text.
local function clean(bytes)
  if not bytes:find("[\0\128-\255]") then return bytes end
  local out, at = {}, 1
  while at <= #bytes do
    local behind, isGood = bytes:match("^[\1-\127]+()", at), true
    if not behind then behind, isGood = characterEnd(bytes, at) end
    out[#out + 1] = isGood and bytes:sub(at, behind - 1) or "\239\191\189"
    at = behind
  end
  return table.concat(out)
end

-- For a label: on one line, and not endless.
local function shown(bytes)
  if #bytes > MAX_SHOWN then
    bytes = bytes:sub(1, MAX_SHOWN):gsub("[\192-\255]?[\128-\191]*$", "") .. "..."
  end
  return (clean(bytes):gsub("%c", " "))
end

local function utf8Of(code)
  if code < 0x80 then return string.char(code) end
  local out, lead = "", 0x40
  repeat
    out = string.char(0x80 + code % 64) .. out
    code, lead = math.floor(code / 64), lead / 2
  until code < lead
  return string.char(256 - 2 * lead + code) .. out
end

local MEANING = { ['"'] = '"', ["\\"] = "\\", ["/"] = "/", b = "\b", f = "\f", n = "\n", r = "\r", t = "\t" }

-- The code behind "\u" and where it ends; two of them where the first one asks for a second.
local function codeAt(raw, at)
  local code = tonumber(raw:match("^%x%x%x%x", at) or "", 16)
  if not code or (code >= 0xDC00 and code <= 0xDFFF) then return nil end
  if code < 0xD800 or code > 0xDFFF then return code, at + 4 end
  local low = tonumber(raw:match("^\\u(%x%x%x%x)", at + 4) or "", 16)
  if not low or low < 0xDC00 or low > 0xDFFF then return nil end
  return 0x10000 + (code - 0xD800) * 1024 + (low - 0xDC00), at + 10
end

-- Nil when an escape is not legal.
local function unescaped(raw)
  local out, at = {}, 1
  while true do
    local slash = raw:find("\\", at, true)
    out[#out + 1] = raw:sub(at, (slash or 0) - 1)
    if not slash then return table.concat(out) end
    local letter = raw:sub(slash + 1, slash + 1)
    if letter == "u" then
      local code
      code, at = codeAt(raw, slash + 2)
      if not code then return nil end
      out[#out + 1] = utf8Of(code)
    else
      if not MEANING[letter] then return nil end
      out[#out + 1] = MEANING[letter]
      at = slash + 2
    end
  end
end

-- Reading ---------------------------------------------------------------------------------------
--
-- Hosts write texts without escaping them, leave out what has no value, and put some keys in single
-- quotes. A text is read as JSON first. Where that fails:
--
--   nothing    {"k":,"l":} has members of no value; ["a",] is two elements, the second one empty
--   string     a quote ends it only where the structure goes on behind it; escapes count only
--              where all of them are legal and all quotes within are escaped
--
-- A value is a table: kind ("object", "array", "string", "number", "word", "nothing"), text (of the last four),
-- members (of an object: {key, value} in their order), elements, and its first and last byte.

local Text = {}
Text.__index = Text

function Text:byte(at) return self.bytes:sub(at, at) end
function Text:spaceEnd(at) return self.bytes:match("^[ \n\t\r]*()", at) end
function Text:skipSpace() self.at = self:spaceEnd(self.at) end

function Text:value()
  self:skipSpace()
  local first, c = self.at, self:byte(self.at)
  local value
  if c == "{" then
    value = self:object()
  elseif c == "[" then
    value = self:array()
  elseif c == '"' or (c == "'" and not self.strict) then
    local text = self:string()
    value = text and { kind = "string", text = text }
  else
    value = self:wordOrNumber()
  end
  if value then value.first, value.last = first, self.at - 1 end
  return value
end

function Text:enter(bracket)
  if #self.open == MAX_DEPTH then return false end
  self.open[#self.open + 1] = bracket
  self.at = self.at + 1
  return true
end

function Text:leave()
  self.open[#self.open] = nil
  self.at = self.at + 1
end

function Text:object()
  local members = {}
  if not self:enter("{") then return nil end
  self:skipSpace()
  local afterComma = false
  while self:byte(self.at) ~= "}" or (self.strict and afterComma) do
    if not self.strict and self:byte(self.at) == "," then
      self.at = self.at + 1
    else
      if not self:member(members) then return nil end
      afterComma = self.strict and self:byte(self.at) == ","
      if afterComma then self.at = self.at + 1 end
    end
    self:skipSpace()
  end
  self:leave()
  return { kind = "object", members = members }
end

-- The member, and that a comma or the bracket follows.
function Text:member(members)
  local key = self:key()
  if not key then return false end
  self:skipSpace()
  local isNothing = not self.strict and self.bytes:find("^[,}]", self.at)
  local value = isNothing and { kind = "nothing", text = "", first = self.at, last = self.at - 1 } or self:value()
  if not value then return false end
  members[#members + 1] = { key, value }
  self:skipSpace()
  return self.bytes:find("^[,}]", self.at) ~= nil
end

function Text:array()
  local elements = {}
  if not self:enter("[") then return nil end
  self:skipSpace()
  if self:byte(self.at) ~= "]" then
    repeat
      self:skipSpace()
      local isNothing = not self.strict and self.bytes:find("^[,%]]", self.at)
      local value = isNothing and { kind = "string", text = "", first = self.at, last = self.at - 1 }
        or self:value()
      if not value then return nil end
      elements[#elements + 1] = value
      self:skipSpace()
      local more = self:byte(self.at) == ","
      if more then self.at = self.at + 1 end
    until not more
    if self:byte(self.at) ~= "]" then return nil end
  end
  self:leave()
  return { kind = "array", elements = elements }
end

local function isJsonNumber(text)
  local rest = text:match("^%-?0(.*)$") or text:match("^%-?[1-9]%d*(.*)$")
  if not rest then return false end
  rest = rest:match("^%.%d+(.*)$") or rest
  return rest == "" or rest:find("^[eE][+-]?%d+$") ~= nil
end

-- Hosts read integers that JSON does not know, such as 007.
local function isNumber(text, strict)
  return isJsonNumber(text) or (not strict and text:find("^[%d-][%d+-]*$") ~= nil)
end

function Text:wordOrNumber()
  for _, word in ipairs({ "true", "false", "null" }) do
    if self.bytes:sub(self.at, self.at + #word - 1) == word then
      self.at = self.at + #word
      return { kind = "word", text = word }
    end
  end
  if self.bytes:find("^%l", self.at) then return nil end
  local number = self.bytes:match("^[%d+.eE-]*", self.at)
  if not isNumber(number, self.strict) then return nil end
  self.at = self.at + #number
  return { kind = "number", text = number }
end

-- The tolerant way: up to the same quote before a colon. The cursor is then behind the colon.
function Text:key()
  local quote = self:byte(self.at)
  if self.strict then
    local key = quote == '"' and self:string()
    if not key then return nil end
    self:skipSpace()
    if self:byte(self.at) ~= ":" then return nil end
    self.at = self.at + 1
    return key
  end
  if quote ~= '"' and quote ~= "'" then return nil end
  local ending = self.at
  repeat
    ending = self.bytes:find(quote, ending + 1, true)
    if not ending then return nil end
    local behind = self:spaceEnd(ending + 1)
    if self:byte(behind) == ":" then
      local raw = self.bytes:sub(self.at + 1, ending - 1)
      self.at = behind + 1
      return unescaped(raw) or raw
    end
  until false
end

-- The first quote that is not escaped.
function Text:quoteFrom(at, quote)
  local stops = "[\\" .. quote .. "]"
  while true do
    at = self.bytes:find(stops, at)
    if not at or self:byte(at) == quote then return at end
    at = at + 2
  end
end

function Text:string()
  local quote, start = self:byte(self.at), self.at + 1
  local ending = self:quoteFrom(start, quote)
  if ending and (self.strict or self:goesOnAt(ending + 1)) then
    local raw = self.bytes:sub(start, ending - 1)
    local text = not (self.strict and raw:find("[\0-\31]")) and unescaped(raw)
    if text then
      self.at = ending + 1
      return text
    end
  end
  if self.strict then return nil end
  ending = self.bytes:find(quote, start, true)
  while ending and not self:goesOnAt(ending + 1) do
    ending = self.bytes:find(quote, ending + 1, true)
  end
  if not ending then return nil end
  self.at = ending + 1
  return self.bytes:sub(start, ending - 1)
end

-- Whether, behind a value, the structure goes on as what is open asks.
function Text:goesOnAt(at)
  at = self:spaceEnd(at)
  local open = #self.open
  if open == 0 then return at == #self.bytes + 1 end
  local inObject, c = self.open[open] == "{", self:byte(at)
  if c == "," then
    if inObject then return self:isMemberAt(at + 1) end
    at = self:spaceEnd(at + 1)
    if self:byte(at) == "]" then return self:bracketGoesOnAt(at + 1) end
    return self:isOpeningAt(at)
  end
  return c == (inObject and "}" or "]") and self:bracketGoesOnAt(at + 1)
end

-- Whether it goes on behind the innermost bracket. Only one bracket is looked behind: more would let
-- each quote look at all of them.
function Text:bracketGoesOnAt(at)
  at = self:spaceEnd(at)
  local open = #self.open
  if open == 1 then return at == #self.bytes + 1 end
  local inObject, c = self.open[open - 1] == "{", self:byte(at)
  if c == "," then
    if inObject then return self:isMemberAt(at + 1) end
    return self:isOpeningAt(at + 1)
  end
  return c == (inObject and "}" or "]")
end

-- Behind an object or array among others another one comes, or something short.
function Text:isOpeningAt(at)
  at = self:spaceEnd(at)
  if self:byte(at) == "{" then return self.bytes:find("^[\"'}]", self:spaceEnd(at + 1)) ~= nil end
  return self.bytes:find("^[%[\"',%]]", at) ~= nil or self:isScalarAt(at)
end

function Text:isMemberAt(at)
  at = self:spaceEnd(at)
  local quote = self:byte(at)
  if quote ~= '"' and quote ~= "'" then return false end
  local length = self.bytes:sub(at + 1, at + LONGEST_KEY_AHEAD):find(quote, 1, true)
  return length ~= nil and self:byte(self:spaceEnd(at + length + 1)) == ":"
end

-- A whole number or word, with an end of the element behind it.
function Text:isScalarAt(at)
  local text = self.bytes:match("^[%d+.eE-]+", at)
  if text and not isNumber(text, false) then return false end
  for _, word in ipairs({ "true", "false", "null" }) do
    if self.bytes:sub(at, at + #word - 1) == word then text = word end
  end
  return text ~= nil and self.bytes:find("^[,%]]", self:spaceEnd(at + #text)) ~= nil
end

local function readAs(bytes, strict)
  local text = setmetatable({ bytes = bytes, at = 1, open = {}, strict = strict }, Text)
  local value = text:value()
  if not value then return nil end
  text:skipSpace()
  return text.at == #bytes + 1 and value or nil
end

-- The value, and whether the text is JSON; nil when it cannot be read.
local function read(bytes)
  local value = readAs(bytes, true)
  if value then return value, clean(bytes) == bytes end
  return readAs(bytes, false), false
end

-- The last of equal keys holds.
local function find(value, key)
  local found
  for _, member in ipairs(value and value.members or {}) do
    if member[1] == key and member[2].kind ~= "nothing" then found = member[2] end
  end
  return found
end

local function textOf(value, key)
  local member = find(value, key)
  return member and member.kind == "string" and member.text or nil
end

-- The commands of a text; none when it holds something else.
local function commandsOf(value)
  local list = find(value, "Commands")
  local commands = {}
  for _, command in ipairs(list and list.kind == "array" and list.elements or { value }) do
    if textOf(command, "Command") then commands[#commands + 1] = command end
  end
  return commands
end

local HOST_WORDS = {
  OPEN = true, ERROR = true, KEEPALIVE = true, UPDATE = true, ADD = true, DELETE = true, PUTFILE = true
}

-- Whether this is what a host says, and no piece of a file that looks framed.
local function isHostText(bytes)
  for _, command in ipairs(commandsOf((read(bytes)))) do
    if HOST_WORDS[textOf(command, "Command")] then return true end
  end
  return false
end

-- The bytes that a text announces behind it.
local function announcedLength(value)
  local length = find(value, "Length")
  if textOf(value, "Command") ~= "PUTFILE" or find(value, "Status") or not length
    or length.kind ~= "number" then
    return nil
  end
  return tonumber(length.text:match("^%d+") or 0)
end

