-- Showing ---------------------------------------------------------------------------------------

local dorn = Proto("dorn", "Dorn Dialog Protocol")

local fields = {
  command = ProtoField.string("dorn.command", "Command"),
  name = ProtoField.string("dorn.name", "Name", "The name of an object"),
  attribute = ProtoField.string("dorn.attribute", "Attribute", "An attribute of an object, as Key=value"),
  member = ProtoField.string("dorn.member", "Member", "A member of a command without a field of its own"),
  payload = ProtoField.bytes("dorn.payload", "File"),
  payloadLength = ProtoField.uint32("dorn.payload.length", "Bytes of the file"),
  unframed = ProtoField.bytes("dorn.unframed", "Unframed bytes"),
  proxy = ProtoField.string("dorn.proxy", "PROXY line"),
  text = ProtoField.string("dorn.text", "Text", "A text that cannot be read"),
}
-- Members of commands.
local FIELD_OF = {}
for _, row in ipairs({
  { "SessionId", "session" }, { "Id", "id" }, { "Pass", "pass" }, { "DialogName", "dialog" },
  { "ActionName", "action" }, { "ActionType", "action.type" }, { "File", "file" }, { "FileSource", "file.source" },
  { "Date", "date" }, { "ObjectName", "object" }, { "Info", "info" }, { "Length", "length" },
  { "Status", "status" }, { "Message", "message" }, { "Delete", "delete" } }) do
  FIELD_OF[row[1]] = ProtoField.string("dorn." .. row[2], row[1])
  fields[row[2]] = FIELD_OF[row[1]]
end
FIELD_OF.Name = fields.name
dorn.fields = fields

local function note(name, text, group, severity)
  return ProtoExpert.new("dorn." .. name .. ".note", text, group, severity)
end
local notes = {
  unreadable = note("unreadable", "This text cannot be read", expert.group.MALFORMED, expert.severity.ERROR),
  noCommand = note("no_command", "This text holds no command", expert.group.MALFORMED, expert.severity.WARN),
  notJson = note("not_json", "No JSON: read as stations read it", expert.group.PROTOCOL, expert.severity.CHAT),
  unframed = note("unframed", "Bytes outside of a message", expert.group.PROTOCOL, expert.severity.WARN),
  tooLong = note("too_long", "Longer than the other side takes", expert.group.PROTOCOL, expert.severity.ERROR),
  noPayload = note("no_payload", "The announced file does not come", expert.group.RESPONSE_CODE, expert.severity.NOTE),
  cut = note("cut", "The rest is not in the capture", expert.group.UNDECODED, expert.severity.WARN),
  tooMany = note("too_many", "What follows is not listed", expert.group.UNDECODED, expert.severity.NOTE),
}
dorn.experts = notes

dorn.prefs.port = Pref.uint("TCP port", 5000, "The port of the host")
dorn.prefs.passwords = Pref.bool("Show passwords", false, "Of log-ins, in the tree; the bytes hold them in any case")

local segmentLength = Field.new("tcp.len")

-- One call's view of a segment: what is shown, where, and how much of it there is already.
local View = {}
View.__index = View

-- The bytes from `first` to `last`, counted from 1.
function View:range(first, last) return self.tvb(first - 1, last - first + 1) end

function View:add(tree, field, first, last, value)
  self.items = self.items + 1
  if first > last then first, last = math.max(last, 1), math.max(last, 1) end
  if value == nil then return tree:add(field, self:range(first, last)) end
  return tree:add(field, self:range(first, last), value)
end

function View:isFull(tree, depth)
  local isFull = self.items >= MAX_TREE_ITEMS or depth >= MAX_TREE_DEPTH
  if isFull and self.lastFull ~= self.items then
    tree:add_proto_expert_info(notes.tooMany)
    self.lastFull = self.items
  end
  return isFull
end

-- `base` lies before the first byte of the text.
function View:valueText(value, base)
  return value.text or self.bytes:sub(base + value.first, base + math.min(value.last, value.first + MAX_SHOWN))
end

-- The members of an object or command: `add` shows each that is no list of objects.
function View:addMembers(tree, value, base, depth, add)
  for _, member in ipairs(value.members or {}) do
    local key, each = member[1], member[2]
    if self:isFull(tree, depth) then return end
    if key == "Objects" and each.kind == "array" then
      self:addObjects(tree, each.elements, base, depth)
    else
      add(key, each)
    end
  end
end

-- As Key=value.
function View:addPlain(tree, field, key, value, base)
  local text = shown(key .. "=" .. self:valueText(value, base))
  self:add(tree, field, base + value.first, base + value.last, text):set_text(text)
end

function View:addObjects(tree, list, base, depth)
  for _, object in ipairs(list) do
    if self:isFull(tree, depth) then return end
    local name = textOf(object, "Name")
    local item = self:add(tree, fields.name, base + object.first, base + object.last, shown(name or ""))
    if not name then item:set_text("Object without a name") end
    self:addMembers(item, object, base, depth + 1, function(key, value)
      if key ~= "Name" then self:addPlain(item, fields.attribute, key, value, base) end
    end)
  end
end

function View:addCommand(tree, command, base)
  local word = shown(textOf(command, "Command"))
  local item = self:add(tree, fields.command, base + command.first, base + command.last, word)
  self:addMembers(item, command, base, 1, function(key, value)
    if FIELD_OF[key] then
      local isHidden = key == "Pass" and not dorn.prefs.passwords
      local text = isHidden and "(hidden)" or shown(self:valueText(value, base))
      self:add(item, FIELD_OF[key], base + value.first, base + value.last, text)
    elseif key ~= "Command" then
      self:addPlain(item, fields.member, key, value, base)
    end
  end)
end

-- What the column "Info" tells of a command beside its word.
local function namesOf(command)
  local names, list = {}, find(command, "Objects")
  for _, object in ipairs(list and list.elements or {}) do
    if #names == 3 then
      names[3] = names[3] .. " and " .. #list.elements - 3 .. " more"
      break
    end
    names[#names + 1] = textOf(object, "Name") or "?"
  end
  return table.concat(names, ", ")
end

local TOLD = { HELLO = { "Id", "DialogName" }, CHANGE = { "DialogName" }, OPEN = { "File" }, ERROR = { "Message" },
  GETFILE = { "File" }, PUTFILE = { "File", "Status", "Info" }, CONDITION = { "ActionType", "ActionName" },
  DELETE = { "Delete", "Name" }, ADD = { "Name" } }

function View:summary(command)
  local word = textOf(command, "Command")
  if word == "KEEPALIVE" and self.direction ~= "" then
    return word .. (self.isFromStation and " (answer)" or " (question)")
  end
  local parts = { word }
  for _, key in ipairs(TOLD[word] or {}) do parts[#parts + 1] = textOf(command, key) end
  if word == "UPDATE" or word == "ADD" then parts[#parts + 1] = namesOf(command) end
  return table.concat(parts, " ")
end

function View:tell(text) self.told[#self.told + 1] = shown(text) end

function View:message(first, last, label)
  self.items = self.items + 1
  return self.tree:add(dorn, self:range(first, last), "Dorn Dialog Protocol, " .. self.direction .. label)
end

