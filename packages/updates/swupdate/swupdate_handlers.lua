-- SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
--
-- Handler "flash_slot" of SWUpdate: installs an image in the slot that "device" of sw-description names. As
-- /usr/share/lua/5.3/swupdate_handlers.lua, or required by that file.

local swupdate = require("swupdate")
local flash_slot = "/usr/share/flash_mng/updates/flash-slot"

-- A copy of the image, as a file, is what flash-slot takes; it is refused unless it has the sum.
local function install(image)
	local slot, sum = image.device or "", image.sha256 or ""
	if not slot:match("^[%w_-]+$") or not sum:match("^%x+$") or #sum ~= 64 then
		swupdate.error("flash_slot: sw-description has to say device, the slot, and sha256")
		return 1
	end
	local copy = swupdate.tmpdir() .. "flash_slot.img"
	local failed, why = image:copy2file(copy)
	local done = failed == 0 and os.execute(string.format("%s install %s '%s' %s", flash_slot, slot, copy, sum))
	os.remove(copy)
	if not done then
		swupdate.error("flash_slot: the image is not in " .. slot .. (why and ": " .. why or ""))
		return 1
	end
	return 0
end

swupdate.register_handler("flash_slot", install, swupdate.HANDLER_MASK.IMAGE_HANDLER)
