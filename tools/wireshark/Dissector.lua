-- Taking apart ----------------------------------------------------------------------------------
--
-- Each of these takes what begins at `at` and returns where it ends; or nil and how many bytes it
-- lacks, if that is known.

-- Of how many bytes more to wait for behind `have` that do not end. For each segment that is waited
-- for alone, Wireshark puts all of them together anew: after MAX_LOOKS of such segments it is asked
-- for ever longer pieces, so that a text that does not end costs no more for each byte than one that
-- does. What ends within such a piece is seen when the piece is whole.
function View:more(have)
  local lengths = { segmentLength() }
  if #lengths == 0 or have <= MAX_LOOKS * lengths[#lengths].value then return DESEGMENT_ONE_MORE_SEGMENT end
  return math.floor(have / 16)
end

-- Up to the next STX. A line of a proxy may stand there, from whose first letters on it is waited for.
function View:takeUnframed(at)
  local stop = self.bytes:find(STX, at, true) or #self.bytes + 1
  local outside = self.bytes:sub(at, stop - 1)
  local line = outside:match("^PROXY [^\r\n]*\r\n")
  if line and #line <= MAX_PROXY_LINE then
    local tree = self:message(at, at + #line - 1, "proxy's line")
    self:add(tree, fields.proxy, at, at + #line - 3, shown(line:sub(1, -3)))
    self:tell(line:sub(1, -3))
    return at + #line
  end
  local head = outside:sub(1, 6)
  if not self.isLast and stop > #self.bytes and #outside < MAX_PROXY_LINE and head == ("PROXY "):sub(1, #head)
    and not outside:find("\n", 1, true) then
    return nil
  end
  local tree = self:message(at, stop - 1, "unframed bytes")
  self:add(tree, fields.unframed, at, stop - 1):add_proto_expert_info(notes.unframed)
  self:tell(#outside .. " unframed bytes")
  return stop
end

-- Where the file ends that a text announces, whose bytes begin at `at`; `at` - 1 when it does not
-- come, because it is a directory or cannot be read: a text of the host stands in its place. That is
-- known when its ETX comes, as no text holds another STX or a zero byte.
function View:payloadEnd(at, length)
  local have = #self.bytes - at + 1
  if have < 1 then return nil end
  if self.bytes:byte(at) == STX:byte() then
    local stop = self.bytes:find(ETX, at + 1, true)
    local text = self.bytes:sub(at + 1, (stop or 0) - 1)
    local isText = (text:find("^%s*{") or text:find("^%s*$")) and not text:find(STX, 1, true)
      and not text:find("\0", 1, true)
    if stop and isText and isHostText(text) then return at - 1 end
    if not stop and isText and have <= MAX_TEXT then return nil, self:more(have) end
  end
  if have < length then return nil, length - have end
  return at + length - 1
end

-- The words of a text.
local function labelOf(value)
  local words = {}
  for index, command in ipairs(value and commandsOf(value) or {}) do
    words[index] = index <= 5 and textOf(command, "Command") or "..."
    if index > 5 then break end
  end
  return #words > 0 and shown(table.concat(words, ", ")) or "a text"
end

function View:takeText(at)
  local stop = self.bytes:find(ETX, at + 1, true)
  local length = (stop or #self.bytes + 1) - at - 1
  if not stop and length <= MAX_TEXT and not self.isLast then return nil, self:more(length) end
  if not stop then return self:takeHalf(at, length) end
  local text = self.bytes:sub(at + 1, stop - 1)
  local value, isJson = read(text)
  local announced = not self.isFromStation and value and announcedLength(value) or nil
  local last, wanted = stop, nil
  if announced and announced > 0 and announced <= MAX_PAYLOAD then
    last, wanted = self:payloadEnd(stop + 1, announced)
    if not last and not self.isLast then return nil, wanted end
  end
  local tree = self:message(at, last or #self.bytes, labelOf(value))
  self:showText(tree, at, text, value, isJson)
  if length > (self.isFromStation and MAX_STATION_TEXT or MAX_TEXT) then
    tree:add_proto_expert_info(notes.tooLong)
  end
  if announced then self:showPayload(tree, stop + 1, last, announced) end
  return (last or #self.bytes) + 1
end

function View:takeHalf(at, length)
  local tree = self:message(at, #self.bytes, "the beginning of a text")
  self:add(tree, fields.text, at, #self.bytes, shown(self.bytes:sub(at + 1, at + MAX_SHOWN)))
  tree:add_proto_expert_info(length > MAX_TEXT and notes.tooLong or notes.cut)
  self:tell("the beginning of a text")
  return #self.bytes + 1
end

function View:showText(tree, at, text, value, isJson)
  local commands = value and commandsOf(value) or {}
  if #commands == 0 then
    self:add(tree, fields.text, at, at + #text + 1, shown(text))
    tree:add_proto_expert_info(value and notes.noCommand or notes.unreadable)
    self:tell(value and "text without a command" or "unreadable text")
    return
  end
  if not isJson then tree:add_proto_expert_info(notes.notJson) end
  for _, command in ipairs(commands) do
    if self:isFull(tree, 0) then break end
    self:addCommand(tree, command, at)
  end
  for index, command in ipairs(commands) do
    if index > 5 then
      self:tell(#commands - 5 .. " more")
      break
    end
    self:tell(self:summary(command))
  end
end

-- The file that was announced: all of it, what of it is there, or nothing.
function View:showPayload(tree, first, last, announced)
  if announced > MAX_PAYLOAD then
    tree:add_proto_expert_info(notes.tooLong)
  elseif announced > 0 and last == first - 1 then
    tree:add_proto_expert_info(notes.noPayload)
  else
    local ending = last or #self.bytes
    self:add(tree, fields.payloadLength, first, ending, ending - first + 1):set_generated()
    if ending >= first then self:add(tree, fields.payload, first, ending) end
    if not last then tree:add_proto_expert_info(notes.cut) end
    self:tell("file of " .. announced .. " bytes")
  end
end

function View:showColumns(pinfo)
  if #self.told == 0 then return end
  local text = table.concat(self.told, "; ")
  -- A segment may hold the end of one unit and further ones: then this is called for each part.
  if tostring(pinfo.cols.protocol) == "DORN" then
    pinfo.cols.info:append("; " .. text)
  else
    pinfo.cols.protocol:set("DORN")
    pinfo.cols.info:set(text)
  end
  pinfo.cols.info:fence()
end

local function directionOf(pinfo)
  if pinfo.src_port == pinfo.dst_port then return false, "" end
  if pinfo.dst_port == dorn.prefs.port then return true, "from the station: " end
  if pinfo.src_port == dorn.prefs.port then return false, "from the host: " end
  return false, ""
end

function dorn.dissector(tvb, pinfo, tree)
  local isFromStation, direction = directionOf(pinfo)
  local view = setmetatable({
    tvb = tvb, bytes = tvb:raw(), tree = tree, told = {}, items = 0,
    isFromStation = isFromStation, direction = direction,
    -- Nothing can be added to what is here.
    isLast = pinfo.can_desegment == 0 or tvb:len() < tvb:reported_len(),
  }, View)
  local at = 1
  while at <= #view.bytes do
    local behind, wanted
    if view.bytes:sub(at, at) == STX then
      behind, wanted = view:takeText(at)
    else
      behind, wanted = view:takeUnframed(at)
    end
    if not behind then
      pinfo.desegment_offset = at - 1
      pinfo.desegment_len = wanted or DESEGMENT_ONE_MORE_SEGMENT
      break
    end
    at = behind
  end
  view:showColumns(pinfo)
  return #view.bytes
end

local ports = DissectorTable.get("tcp.port")
local port = dorn.prefs.port
ports:add(port, dorn)

function dorn.prefs_changed()
  if dorn.prefs.port == port then return end
  ports:remove(port, dorn)
  port = dorn.prefs.port
  ports:add(port, dorn)
end
