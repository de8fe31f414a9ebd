-- Wireshark dissectors for the datagrams of device search.
--
--   devsearch_sdk   the SDK command protocol: a 24-byte head and an XML or
--                   binary body. UDP 30001 (range query and answer), 31001
--                   (multicast query) and 31002 (multicast answers); over TCP
--                   through Decode As or the "TCP port" preference, one
--                   command per head-announced length.
--   devsearch_disc  device announcements on UDP 30003: a 24-byte envelope, a
--                   76-byte command head and the body of command 16, 20 or 23.
--
-- Load it with   tshark -X lua_script:devsearch.lua ...
-- or copy it into the personal Lua plugin folder (~/.local/lib/wireshark/plugins/).
--
-- A datagram that the library would refuse is shown with an expert item of
-- group "Malformed" (or "Checksum" for a wrong check byte), never with a Lua
-- error: every read below is checked against the bytes at hand first.

local xml_dissector = Dissector.get("xml")

-- Exclusive or of two bytes without a bit library (Lua 5.1 to 5.4).
local function xor8(a, b)
    local result, bit = 0, 1
    for _ = 1, 8 do
        local x, y = a % 2, b % 2
        if x ~= y then result = result + bit end
        a, b, bit = (a - x) / 2, (b - y) / 2, bit * 2
    end
    return math.floor(result)
end

-- A fixed-width text field: its bytes up to the first zero.
local function fixed_text(range)
    local raw = range:raw()
    local zero = raw:find("\0", 1, true)
    return zero and raw:sub(1, zero - 1) or raw
end

local ENTITIES = { amp = "&", lt = "<", gt = ">", quot = '"', apos = "'" }
local function unescape(text)
    return (text:gsub("&(%a+);", function(name) return ENTITIES[name] end))
end

-- Calls visit(element, attribute, value, offset, width) for each attribute of
-- each element in an XML text, offset and width being where the value stands
-- (0-based, as written, before its entities are replaced). Returns the set
-- of element names seen.
local function scan_xml(text, visit)
    local elements = {}
    local pos = 1
    while true do
        local s, e, element = text:find("<([%a_][%w_:%.%-]*)", pos)
        if not s then break end
        elements[element] = true
        local i = e + 1
        while true do
            local as, ae, attribute, quote = text:find("^%s+([%a_][%w_:%.%-]*)%s*=%s*([\"'])", i)
            if not as then break end
            local close = text:find(quote, ae + 1, true)
            if not close then break end
            visit(element, attribute, unescape(text:sub(ae + 1, close - 1)), ae, close - ae - 1)
            i = close + 1
        end
        pos = i
    end
    return elements
end

-- Adds an expert item, and notes its text for the Info column.
local function flag(state, item, expert_field, text)
    item:add_proto_expert_info(expert_field, text)
    state.problem = state.problem or text
end

----------------------------------------------------------------------------
-- devsearch_sdk
----------------------------------------------------------------------------

local sdk = Proto("devsearch_sdk", "devsearch SDK command protocol")
local SDK_HEAD = 24
local SDK_COLUMN = "DEVSEARCH SDK"
-- A TCP stream whose head announces more is taken as garbage, not awaited.
local SDK_MAX_PAYLOAD = 16 * 1024 * 1024

local SDK_COMMANDS = {
    [30539] = "Multicast search query",
    [30540] = "Multicast search answer",
    [30541] = "Range search query",
    [30542] = "Range search answer",
    [14006] = "PTZ operation",
    [15020] = "File data",
    [47005] = "File data",
    [31026] = "Snapshot response",
    [32743] = "Snapshot response",
    [32821] = "Snapshot response",
    [33028] = "Snapshot response",
    [33019] = "Serial port data",
    [33026] = "Parameter import",
}

local S = {
    magic = ProtoField.uint16("devsearch_sdk.magic", "Magic", base.HEX),
    version = ProtoField.uint16("devsearch_sdk.version", "Version", base.DEC),
    sequence = ProtoField.uint16("devsearch_sdk.sequence", "Sequence", base.DEC),
    flag_a = ProtoField.bool("devsearch_sdk.flag_a", "Flag A", 8, nil, 0x80),
    flag_b = ProtoField.bool("devsearch_sdk.flag_b", "Flag B", 8, nil, 0x80),
    command = ProtoField.uint32("devsearch_sdk.command", "Command", base.DEC, SDK_COMMANDS),
    context = ProtoField.uint32("devsearch_sdk.context", "Context", base.HEX),
    length = ProtoField.uint32("devsearch_sdk.length", "Payload length", base.DEC),
    reserved = ProtoField.uint16("devsearch_sdk.reserved", "Reserved", base.HEX),
    check = ProtoField.uint8("devsearch_sdk.check", "Check byte", base.HEX),
    check_ok = ProtoField.bool("devsearch_sdk.check_ok", "Check byte correct"),
    end_mark = ProtoField.uint8("devsearch_sdk.end_mark", "End mark", base.HEX),
    body = ProtoField.bytes("devsearch_sdk.body", "Body"),
    device_id = ProtoField.string("devsearch_sdk.device_id", "Device id (DeviceSummaryInfo)"),
    device_ip = ProtoField.string("devsearch_sdk.device_ip", "Device IP (DeviceSummaryInfo)"),
    data_length = ProtoField.int32("devsearch_sdk.data_length", "Data length", base.DEC),
    data = ProtoField.bytes("devsearch_sdk.data", "Data"),
    result_code = ProtoField.int32("devsearch_sdk.result_code", "Result code", base.DEC),
    file_flag = ProtoField.uint8("devsearch_sdk.file_flag", "File data flag", base.HEX),
    value1 = ProtoField.int32("devsearch_sdk.value1", "Value 1", base.DEC),
    value2 = ProtoField.int32("devsearch_sdk.value2", "Value 2", base.DEC),
    camera_id = ProtoField.int32("devsearch_sdk.camera_id", "Camera id", base.DEC),
    operation_length = ProtoField.int32("devsearch_sdk.operation_length", "PTZ operation length", base.DEC),
    operation = ProtoField.string("devsearch_sdk.operation", "PTZ operation"),
    name_length = ProtoField.int32("devsearch_sdk.name_length", "Name length", base.DEC),
    name = ProtoField.string("devsearch_sdk.name", "Name"),
    ptz_id = ProtoField.int32("devsearch_sdk.ptz_id", "PTZ id", base.DEC),
}
sdk.fields = S

local SE = {
    malformed = ProtoExpert.new("devsearch_sdk.malformed", "Malformed SDK command",
        expert.group.MALFORMED, expert.severity.ERROR),
    bad_check = ProtoExpert.new("devsearch_sdk.bad_check", "Wrong check byte",
        expert.group.CHECKSUM, expert.severity.ERROR),
    trailing = ProtoExpert.new("devsearch_sdk.trailing", "Bytes behind the payload",
        expert.group.PROTOCOL, expert.severity.WARN),
}
sdk.experts = { SE.malformed, SE.bad_check, SE.trailing }

sdk.prefs.tcp_port = Pref.uint("TCP port", 0, "TCP port that carries SDK commands; 0 for none")

-- The binary bodies, one step per field: "len" reads a 32-bit length that the
-- next "data" or "text" step uses (min is the least length the library
-- accepts), "i32" and "u8" read a value, "opt32" reads a value when 4 bytes
-- remain and stands for 1 when none do.
local BINARY_BODIES = {}
local snapshot = {
    { "len", S.data_length, min = 1 }, { "i32", S.result_code }, { "data", S.data } }
local file = {
    { "len", S.data_length, min = 0 }, { "u8", S.file_flag }, { "i32", S.result_code }, { "data", S.data } }
for _, id in ipairs({ 31026, 32743, 32821, 33028 }) do BINARY_BODIES[id] = snapshot end
BINARY_BODIES[15020] = file
BINARY_BODIES[47005] = file
BINARY_BODIES[33026] = { { "len", S.data_length, min = 1 }, { "data", S.data } }
BINARY_BODIES[33019] = {
    { "len", S.data_length, min = 1 }, { "data", S.data }, { "i32", S.value1 }, { "i32", S.value2 } }
BINARY_BODIES[14006] = {
    { "i32", S.result_code }, { "i32", S.camera_id },
    { "len", S.operation_length, min = 0 }, { "text", S.operation },
    { "len", S.name_length, min = 0 }, { "text", S.name },
    { "opt32", S.ptz_id } }

local function dissect_binary_body(steps, tvb, offset, length, tree, state)
    local stop = offset + length
    local pos, count = offset, 0
    for _, step in ipairs(steps) do
        local kind, field = step[1], step[2]
        local left = stop - pos
        if kind == "data" or kind == "text" then
            if count > left then
                flag(state, tree, SE.malformed,
                    string.format("Length %d runs past the body (%d bytes left)", count, left))
                return
            end
            if count > 0 then
                local range = tvb(pos, count)
                if kind == "text" then
                    tree:add(field, range, fixed_text(range))
                else
                    tree:add(field, range)
                end
            end
            pos = pos + count
        elseif kind == "opt32" and left == 0 then
            tree:add(field, 1):set_generated()
        else
            local width = kind == "u8" and 1 or 4
            if left < width then
                flag(state, tree, SE.malformed, string.format("Body cut inside a %d-byte field", width))
                return
            end
            local range = tvb(pos, width)
            local item = tree:add(field, range)
            if kind == "len" then
                count = range:int()
                if count < step.min then
                    flag(state, item, SE.malformed, string.format("Length %d is below %d", count, step.min))
                    return
                end
            end
            pos = pos + width
        end
    end
    if pos < stop then
        flag(state, tree, SE.trailing, string.format("%d bytes behind the body", stop - pos))
    end
end

-- Over TCP one segment may end several commands: their texts are joined.
local later_in_segment = false
local function set_sdk_info(pinfo, text, over_tcp)
    if over_tcp and later_in_segment then
        pinfo.cols.info:append("; " .. text)
    else
        pinfo.cols.info = text
    end
    later_in_segment = over_tcp
end

local function dissect_sdk_command(tvb, pinfo, root, over_tcp)
    local total = tvb:len()
    local state = {}
    pinfo.cols.protocol = SDK_COLUMN
    local tree = root:add(sdk, tvb())
    if total < SDK_HEAD then
        flag(state, tree, SE.malformed, string.format("%d bytes, shorter than the 24-byte head", total))
        set_sdk_info(pinfo, "Malformed: " .. state.problem, over_tcp)
        return total
    end

    local head = tree:add(tvb(0, SDK_HEAD), "Head")
    local magic = head:add(S.magic, tvb(0, 2))
    if tvb(0, 1):uint() ~= 0xAF or tvb(1, 1):uint() ~= 0xAF then
        flag(state, magic, SE.malformed, "Magic is not AF AF")
    end
    head:add(S.version, tvb(2, 2))
    head:add(S.sequence, tvb(4, 2))
    head:add(S.flag_a, tvb(6, 1))
    head:add(S.flag_b, tvb(7, 1))
    head:add(S.command, tvb(8, 4))
    head:add(S.context, tvb(12, 4))
    head:add(S.length, tvb(16, 4))
    head:add(S.reserved, tvb(20, 2))
    local expected = 0
    for i = 0, 21 do expected = xor8(expected, tvb(i, 1):uint()) end
    local check = tvb(22, 1):uint()
    local check_item = head:add(S.check, tvb(22, 1))
    head:add(S.check_ok, tvb(22, 1), check == expected):set_generated()
    if check ~= expected then
        flag(state, check_item, SE.bad_check,
            string.format("Check byte 0x%02X is wrong: bytes 0 to 21 give 0x%02X", check, expected))
    end
    local end_mark = head:add(S.end_mark, tvb(23, 1))
    if tvb(23, 1):uint() ~= 0x23 then
        flag(state, end_mark, SE.malformed, "End mark is not 0x23")
    end

    local command = tvb(8, 4):uint()
    local sequence = tvb(4, 2):uint()
    local payload = tvb(16, 4):uint()
    local present = total - SDK_HEAD
    local body_length = math.min(payload, present)
    if payload > present then
        flag(state, head, SE.malformed,
            string.format("Payload length %d, but only %d bytes follow the head", payload, present))
    elseif payload < present and not over_tcp then
        flag(state, head, SE.trailing, string.format("%d bytes behind the payload", present - payload))
    end

    local info = string.format("%s (%d), seq %d", SDK_COMMANDS[command] or "Command", command, sequence)
    local steps = BINARY_BODIES[command]
    if body_length > 0 and steps then
        local body = tree:add(S.body, tvb(SDK_HEAD, body_length))
        dissect_binary_body(steps, tvb, SDK_HEAD, body_length, body, state)
    elseif body_length > 0 then
        -- An answer's device: the first DeviceSummaryInfo, pointed at in the document.
        local found = {}
        scan_xml(tvb(SDK_HEAD, body_length):raw(), function(element, attribute, value, at, width)
            local field = element == "DeviceSummaryInfo" and
                (attribute == "DeviceId" and S.device_id or attribute == "DeviceIP" and S.device_ip)
            if field and not found[field] then
                found[field] = value
                tree:add(field, tvb(SDK_HEAD + at, width), value)
            end
        end)
        if found[S.device_id] then info = info .. ", " .. found[S.device_id] end
        if found[S.device_ip] then info = info .. " " .. found[S.device_ip] end
        -- The XML dissector raises an error on some broken documents.
        local document = tvb(SDK_HEAD, body_length):tvb()
        if xml_dissector and not pcall(Dissector.call, xml_dissector, document, pinfo, tree) then
            flag(state, tree, SE.malformed, "The body is no well-formed XML document")
        end
        pinfo.cols.protocol = SDK_COLUMN
    end
    tree:append_text(string.format(", %s", info))
    if state.problem then info = info .. " [" .. state.problem .. "]" end
    set_sdk_info(pinfo, info, over_tcp)
    return total
end

-- Over TCP the head tells where a command ends; a stream that does not start
-- with a head is consumed whole and shown as malformed.
local function sdk_tcp_length(tvb, _, offset)
    local left = tvb:len() - offset
    if tvb(offset, 1):uint() ~= 0xAF or tvb(offset + 1, 1):uint() ~= 0xAF then return left end
    local payload = tvb(offset + 16, 4):uint()
    if payload > SDK_MAX_PAYLOAD then return left end
    return SDK_HEAD + payload
end

local PT_TCP = 2 -- pinfo.port_type of a TCP segment
local DISC_PORT = 30003
function sdk.dissector(tvb, pinfo, tree)
    -- Devices announce from their SDK port to the announcement port; such a
    -- datagram is declined here so that UDP hands it to devsearch_disc.
    if pinfo.dst_port == DISC_PORT then return 0 end
    if pinfo.port_type == PT_TCP then
        later_in_segment = false
        dissect_tcp_pdus(tvb, tree, SDK_HEAD, sdk_tcp_length, function(pdu, p, t)
            return dissect_sdk_command(pdu, p, t, true)
        end)
        return tvb:len()
    end
    return dissect_sdk_command(tvb, pinfo, tree, false)
end

local udp_ports = DissectorTable.get("udp.port")
for _, port in ipairs({ 30001, 31001, 31002 }) do udp_ports:add(port, sdk) end
local tcp_ports = DissectorTable.get("tcp.port")
tcp_ports:add_for_decode_as(sdk)
local registered_tcp_port = 0
function sdk.prefs_changed()
    if registered_tcp_port ~= 0 then tcp_ports:remove(registered_tcp_port, sdk) end
    registered_tcp_port = sdk.prefs.tcp_port
    if registered_tcp_port ~= 0 then tcp_ports:add(registered_tcp_port, sdk) end
end

----------------------------------------------------------------------------
-- devsearch_disc
----------------------------------------------------------------------------

local disc = Proto("devsearch_disc", "devsearch device announcement")
local DISC_ENVELOPE, DISC_HEAD = 24, 76
local DISC_COLUMN = "DEVSEARCH DISC"
local DISC_COMMANDS = {
    [16] = "Broadcast",
    [20] = "Device base info",
    [23] = "Multicast device info",
}

local D = {
    marker = ProtoField.uint8("devsearch_disc.marker", "Marker", base.HEX),
    byte_a = ProtoField.uint8("devsearch_disc.byte_a", "Byte A", base.DEC),
    word_a = ProtoField.uint32("devsearch_disc.word_a", "Word A", base.DEC),
    word_b = ProtoField.uint32("devsearch_disc.word_b", "Word B", base.DEC),
    byte_b = ProtoField.uint8("devsearch_disc.byte_b", "Byte B", base.DEC),
    word_c = ProtoField.uint32("devsearch_disc.word_c", "Word C", base.DEC),
    short_a = ProtoField.uint16("devsearch_disc.short_a", "Short A", base.DEC),
    short_b = ProtoField.bytes("devsearch_disc.short_b", "Short B (host order)"),
    byte_c = ProtoField.uint8("devsearch_disc.byte_c", "Byte C", base.DEC),
    payload_length = ProtoField.uint32("devsearch_disc.payload_length", "Payload length", base.DEC),
    command = ProtoField.int32("devsearch_disc.command", "Command", base.DEC, DISC_COMMANDS),
    lead_byte = ProtoField.uint8("devsearch_disc.lead_byte", "Lead byte", base.DEC),
    name_a = ProtoField.string("devsearch_disc.name_a", "Name A"),
    name_b = ProtoField.string("devsearch_disc.name_b", "Name B"),
    trail_byte = ProtoField.uint8("devsearch_disc.trail_byte", "Trail byte", base.DEC),
    trail_word = ProtoField.bytes("devsearch_disc.trail_word", "Trail word (host order)"),
    body_length = ProtoField.int32("devsearch_disc.body_length", "Body length", base.DEC),
    device_id = ProtoField.string("devsearch_disc.device_id", "Device id"),
    device_name = ProtoField.string("devsearch_disc.device_name", "Device name"),
    device_type = ProtoField.int32("devsearch_disc.device_type", "Device type", base.DEC),
    manufacturer_id = ProtoField.string("devsearch_disc.manufacturer_id", "Manufacturer id"),
    manufacturer_name = ProtoField.string("devsearch_disc.manufacturer_name", "Manufacturer name"),
    product_model = ProtoField.string("devsearch_disc.product_model", "Product model"),
    product_description = ProtoField.string("devsearch_disc.product_description", "Product description"),
    mac = ProtoField.string("devsearch_disc.mac", "MAC address"),
    bar_code = ProtoField.string("devsearch_disc.bar_code", "Bar code"),
    production_time = ProtoField.string("devsearch_disc.production_time", "Production time"),
    hardware_model = ProtoField.string("devsearch_disc.hardware_model", "Hardware model"),
    hardware_description = ProtoField.string("devsearch_disc.hardware_description", "Hardware description"),
    hardware_version = ProtoField.string("devsearch_disc.hardware_version", "Hardware version"),
    software_version = ProtoField.string("devsearch_disc.software_version", "Software version"),
    ip = ProtoField.string("devsearch_disc.ip", "Device IP"),
    ip_version = ProtoField.int32("devsearch_disc.ip_version", "IP version", base.DEC),
    subnet_mask = ProtoField.string("devsearch_disc.subnet_mask", "Subnet mask"),
    gateway = ProtoField.string("devsearch_disc.gateway", "Gateway"),
    dns = ProtoField.string("devsearch_disc.dns", "Preferred DNS"),
    control_port = ProtoField.uint16("devsearch_disc.control_port", "Control port", base.DEC),
    register_port = ProtoField.uint16("devsearch_disc.register_port", "Register port", base.DEC),
    http_port = ProtoField.uint16("devsearch_disc.http_port", "HTTP port", base.DEC),
    user_id = ProtoField.string("devsearch_disc.user_id", "User id"),
    password = ProtoField.string("devsearch_disc.password", "Password"),
    camera_count = ProtoField.int32("devsearch_disc.camera_count", "Cameras", base.DEC),
    alarm_in_count = ProtoField.int32("devsearch_disc.alarm_in_count", "Alarm inputs", base.DEC),
    alarm_out_count = ProtoField.int32("devsearch_disc.alarm_out_count", "Alarm outputs", base.DEC),
    rs485_count = ProtoField.int32("devsearch_disc.rs485_count", "RS-485 ports", base.DEC),
    device_time = ProtoField.string("devsearch_disc.device_time", "Device time"),
    state = ProtoField.int64("devsearch_disc.state", "State", base.DEC),
    constant = ProtoField.int32("devsearch_disc.constant", "Constant", base.DEC),
    attribute = ProtoField.string("devsearch_disc.attribute", "Other attribute"),
}
disc.fields = D

local DE = {
    malformed = ProtoExpert.new("devsearch_disc.malformed", "Malformed announcement",
        expert.group.MALFORMED, expert.severity.ERROR),
    unknown = ProtoExpert.new("devsearch_disc.unknown_command", "Unknown command",
        expert.group.UNDECODED, expert.severity.WARN),
    number = ProtoExpert.new("devsearch_disc.bad_number", "Not a decimal number",
        expert.group.PROTOCOL, expert.severity.WARN),
    trailing = ProtoExpert.new("devsearch_disc.trailing", "Bytes behind the body",
        expert.group.PROTOCOL, expert.severity.WARN),
}
disc.experts = { DE.malformed, DE.unknown, DE.number, DE.trailing }

-- Body of command 16: offset, width, field, and "text" for a zero-filled text.
local BROADCAST_BODY = 274
local BROADCAST_LEAST = 210
local BROADCAST_FIELDS = {
    { 0, 32, D.device_id, "text" }, { 32, 32, D.manufacturer_id, "text" }, { 64, 4, D.device_type },
    { 68, 32, D.manufacturer_name, "text" },
    { 100, 4, D.constant }, { 104, 4, D.constant }, { 108, 4, D.constant },
    { 112, 16, D.hardware_version, "text" }, { 128, 16, D.software_version, "text" },
    { 144, 4, D.constant }, { 148, 4, D.constant }, { 152, 4, D.constant },
    { 156, 2, D.control_port }, { 158, 2, D.register_port }, { 160, 2, D.http_port },
    { 162, 48, D.ip, "text" }, { 210, 64, D.device_time, "text" },
}

-- Attributes of the XML bodies: name to field; numeric ones are read as the
-- library reads them ("int" saturates to 32 bits, "port" wraps to 16 bits).
local ATTRIBUTES = {
    DeviceID = { D.device_id }, DeviceName = { D.device_name }, DeviceType = { D.device_type, "int" },
    ManufacturerId = { D.manufacturer_id }, ManufacturerName = { D.manufacturer_name },
    ProductModel = { D.product_model }, ProductDescription = { D.product_description },
    MACAddress = { D.mac }, BarCode = { D.bar_code }, ProductionTime = { D.production_time },
    HardwareModel = { D.hardware_model }, HardwareDescription = { D.hardware_description },
    HardwareVer = { D.hardware_version }, SoftwareVer = { D.software_version },
    DeviceIP = { D.ip }, IPProtoVer = { D.ip_version, "int" }, SubnetMask = { D.subnet_mask },
    Gateway = { D.gateway }, PreferredDNSIP = { D.dns },
    ControlPort = { D.control_port, "port" }, DevicePort = { D.control_port, "port" },
    UserID = { D.user_id }, Password = { D.password },
    CameraNum = { D.camera_count, "int" }, AlarmInNum = { D.alarm_in_count, "int" },
    AlarmOutNum = { D.alarm_out_count, "int" }, RS485Num = { D.rs485_count, "int" },
    DeviceTime = { D.device_time }, State = { D.state, "int64" },
}
-- The elements whose attributes the receiver reads, by command.
local XML_ELEMENTS = {
    [20] = { root = "DeviceBaseInfo", DeviceBaseInfo = true, Version = true },
    [23] = { root = "DeviceInfo", DeviceInfo = true },
}

-- A numeric attribute as the receiver converts it: leading decimal digits,
-- saturated to the type's range ("port" then wraps to 16 bits). Text without
-- digits gives nil; the receiver then takes 0, or 1 for the 64-bit State.
local INT64_MAX = "9223372036854775807"
local function number_value(kind, text)
    local sign, digits = text:match("^%s*([+-]?)(%d+)")
    if not digits then return nil end
    if kind == "int64" then
        digits = digits:match("^0*(%d-%d)$")
        if #digits > 19 or (#digits == 19 and digits > INT64_MAX) then
            return sign == "-" and Int64.min() or Int64.max()
        end
        local value = Int64.new(0, 0)
        for i = 1, #digits do value = value * 10 + tonumber(digits:sub(i, i)) end
        return sign == "-" and -value or value
    end
    local value = math.max(-2147483648, math.min(2147483647, tonumber(sign .. digits)))
    return kind == "port" and value % 65536 or value
end

local function dissect_xml_body(command, tvb, offset, length, tree, state, summary)
    -- The body ends in the text's terminating zero, which the document does not include.
    local text = tvb(offset, length):raw()
    local text_length = #(text:match("^[^%z]*"))
    text = text:sub(1, text_length)
    local wanted = XML_ELEMENTS[command]
    local elements = scan_xml(text, function(element, attribute, value, at, width)
        if not wanted[element] then return end
        local range = tvb(offset + at, width)
        local entry = ATTRIBUTES[attribute]
        if not entry then
            tree:add(D.attribute, range, attribute .. "=" .. value)
            return
        end
        local field, kind = entry[1], entry[2]
        if not kind then
            tree:add(field, range, value)
            summary[field] = summary[field] or value
            return
        end
        local number = number_value(kind, value)
        local fallback = kind == "int64" and Int64.new(1, 0) or 0
        local item = tree:add(field, range, number or fallback)
        if number == nil then
            item:add_proto_expert_info(DE.number,
                attribute .. " is not a decimal number; read as " .. tostring(fallback))
        end
    end)
    if not elements[wanted.root] then
        flag(state, tree, DE.malformed, "No " .. wanted.root .. " element in the body")
    end
end

local function dissect_broadcast_body(tvb, offset, length, tree, state, summary)
    if length < BROADCAST_LEAST then
        flag(state, tree, DE.malformed,
            string.format("Body of %d bytes; command 16 needs at least %d", length, BROADCAST_LEAST))
        return
    end
    if length > BROADCAST_BODY then
        flag(state, tree, DE.trailing, string.format("%d bytes behind the %d-byte body, ignored by receivers",
            length - BROADCAST_BODY, BROADCAST_BODY))
    end
    for _, entry in ipairs(BROADCAST_FIELDS) do
        local at, width, field, kind = entry[1], math.min(entry[2], length - entry[1]), entry[3], entry[4]
        if width > 0 then
            local range = tvb(offset + at, width)
            if kind == "text" then
                local value = fixed_text(range)
                tree:add(field, range, value)
                summary[field] = summary[field] or value
            else
                tree:add(field, range)
            end
        end
    end
end

function disc.dissector(tvb, pinfo, root)
    local total = tvb:len()
    local state, summary = {}, {}
    pinfo.cols.protocol = DISC_COLUMN
    local tree = root:add(disc, tvb())
    local function finish(info)
        if state.problem then info = info .. " [" .. state.problem .. "]" end
        pinfo.cols.info = info
        return total
    end
    if total < DISC_ENVELOPE then
        flag(state, tree, DE.malformed, string.format("%d bytes, shorter than the 24-byte envelope", total))
        return finish("Malformed")
    end

    local envelope = tree:add(tvb(0, DISC_ENVELOPE), "Envelope")
    local marker = envelope:add(D.marker, tvb(0, 1))
    if tvb(0, 1):uint() ~= 0xFF then flag(state, marker, DE.malformed, "Marker is not 0xFF") end
    envelope:add(D.byte_a, tvb(1, 1))
    envelope:add(D.word_a, tvb(2, 4))
    envelope:add(D.word_b, tvb(6, 4))
    envelope:add(D.byte_b, tvb(10, 1))
    envelope:add(D.word_c, tvb(11, 4))
    envelope:add(D.short_a, tvb(15, 2))
    envelope:add(D.short_b, tvb(17, 2))
    envelope:add(D.byte_c, tvb(19, 1))
    local payload_item = envelope:add(D.payload_length, tvb(20, 4))
    local payload = tvb(20, 4):uint()
    local present = total - DISC_ENVELOPE
    if payload ~= present then
        flag(state, payload_item, DE.malformed,
            string.format("Payload length %d, but %d bytes follow the envelope", payload, present))
    end
    if present < DISC_HEAD then
        flag(state, tree, DE.malformed,
            string.format("%d bytes behind the envelope, shorter than the 76-byte command head", present))
        return finish("Malformed")
    end

    local o = DISC_ENVELOPE
    local head = tree:add(tvb(o, DISC_HEAD), "Command head")
    head:add(D.command, tvb(o, 4))
    head:add(D.lead_byte, tvb(o + 4, 1))
    head:add(D.name_a, tvb(o + 5, 32), fixed_text(tvb(o + 5, 32)))
    head:add(D.name_b, tvb(o + 37, 32), fixed_text(tvb(o + 37, 32)))
    head:add(D.trail_byte, tvb(o + 69, 1))
    head:add(D.trail_word, tvb(o + 70, 2))
    local body_item = head:add(D.body_length, tvb(o + 72, 4))
    local command = tvb(o, 4):int()
    local body_length = tvb(o + 72, 4):int()
    local info = string.format("%s (%d)", DISC_COMMANDS[command] or "Command", command)

    o = o + DISC_HEAD
    local present_body = total - o
    if body_length ~= present_body then
        flag(state, body_item, DE.malformed,
            string.format("Body length %d, but %d bytes follow the head", body_length, present_body))
        body_length = present_body
    end
    if not DISC_COMMANDS[command] then
        flag(state, head, DE.unknown,
            string.format("Command %d is none of 16, 20, 23; receivers drop it", command))
        return finish(info)
    end
    if body_length > 0 then
        local body = tree:add(tvb(o, body_length), "Body")
        if command == 16 then
            dissect_broadcast_body(tvb, o, body_length, body, state, summary)
        else
            dissect_xml_body(command, tvb, o, body_length, body, state, summary)
        end
    elseif command ~= 16 then
        flag(state, head, DE.malformed, "No body")
    else
        dissect_broadcast_body(tvb, o, 0, head, state, summary)
    end
    if summary[D.device_id] then info = info .. ", " .. summary[D.device_id] end
    if summary[D.ip] then info = info .. " " .. summary[D.ip] end
    tree:append_text(", " .. info)
    return finish(info)
end

udp_ports:add(DISC_PORT, disc)
