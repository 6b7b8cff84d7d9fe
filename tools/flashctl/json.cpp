// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "json.hpp"

#include <nlohmann/json.hpp>

#include "mtd_words.hpp"

namespace flashctl {

namespace {

using nlohmann::ordered_json;

template <typename value_type> ordered_json or_null(const std::optional<value_type> &value)
{
	return value ? ordered_json(*value) : ordered_json(nullptr);
}

ordered_json described(const mtd_device &device)
{
	return {{"number", device.number},
		{"name", device.name},
		{"type", mtd_type_name(device.type)},
		{"type_number", device.type},
		{"size", device.size},
		{"erase_size", device.erase_size},
		{"flags", device.flags},
		{"flag_names", mtd_flag_names(device.flags)},
		{"listed", device.listed},
		{"writable", device.listed && device.writable},
		{"usable", or_null(device.usable)}};
}

ordered_json described(const range &range)
{
	return {{"partition", range.device.name}, {"device", range.device.number}, {"offset", range.offset}, {"length", range.length}};
}

ordered_json described(const std::optional<difference> &differs)
{
	if (!differs)
		return nullptr;
	return {{"first", differs->first}, {"count", differs->count}, {"expected", differs->expected}, {"found", differs->found}};
}

ordered_json described(const code_words &words)
{
	return {{"value", words.code},	  {"hex", hex_code(words.code)}, {"name", words.name},
		{"source", words.source}, {"meaning", words.meaning},	 {"advice", words.advice}};
}

ordered_json described(const health_report &health)
{
	ordered_json warnings = ordered_json::array();
	for (const health_warning &warning : health.warnings)
		warnings.push_back({{"kind", warning.kind}, {"message", warning.words}});
	return {{"bad_blocks", or_null(health.counts.bad_blocks)},     {"reserved_blocks", or_null(health.counts.reserved_blocks)},
		{"spare_blocks", or_null(health.spare_blocks)},	       {"corrected_bits", or_null(health.counts.corrected_bits)},
		{"ecc_failures", or_null(health.counts.ecc_failures)}, {"bitflip_threshold", or_null(health.counts.bitflip_threshold)},
		{"ecc_strength", or_null(health.counts.ecc_strength)}, {"read_only", health.read_only},
		{"locks_at_power_on", health.locks_at_power_on},       {"warnings", warnings}};
}

ordered_json tell(const list_outcome &found)
{
	ordered_json devices = ordered_json::array();
	for (std::size_t i = 0; i < found.devices.size(); ++i) {
		devices.push_back(described(found.devices[i]));
		if (!found.health.empty())
			devices.back()["health"] = described(found.health[i]);
	}
	return {{"devices", devices}};
}

ordered_json tell(const info_outcome &found)
{
	ordered_json partitions = ordered_json::array();
	for (const partition_info &info : found.partitions) {
		partitions.push_back(described(info.device));
		partitions.back()["bad_blocks"] = info.bad_blocks;
		partitions.back()["health"] = described(info.health);
	}
	ordered_json user_data;
	if (found.user_data)
		user_data = {{"partitions", found.user_data->partitions}, {"size", found.user_data->size}};
	return {{"partitions", partitions}, {"user_data", user_data}};
}

ordered_json blocks_in(const std::vector<block_state> &blocks, block_state wanted)
{
	ordered_json places = ordered_json::array();
	for (std::size_t i = 0; i < blocks.size(); ++i)
		if (blocks[i] == wanted)
			places.push_back(i);
	return places;
}

ordered_json described(const std::vector<block_state> &blocks)
{
	return {{"count", blocks.size()},
		{"bad", blocks_in(blocks, block_state::bad)},
		{"worn", blocks_in(blocks, block_state::worn)},
		{"unreadable", blocks_in(blocks, block_state::unreadable)}};
}

ordered_json tell(const map_outcome &found)
{
	ordered_json partitions = ordered_json::array();
	for (const mapped_partition &part : found.partitions) {
		partitions.push_back(described(part.device));
		partitions.back()["health"] = described(part.health);
		partitions.back()["blocks"] = part.blocks ? described(*part.blocks) : ordered_json(nullptr);
	}
	return {{"scanned", found.scanned}, {"partitions", partitions}};
}

ordered_json tell(const read_outcome &found)
{
	return {{"range", described(found.range)}, {"sha256", found.sha256}, {"output", found.output}};
}

ordered_json tell(const verify_outcome &found)
{
	return {{"range", described(found.range)},
		{"equal", found.equal()},
		{"expected_sha256", found.expected_sha256},
		{"found_sha256", found.found_sha256},
		{"difference", described(found.differs)}};
}

const char *word_of(write_outcome::action action)
{
	switch (action) {
	case write_outcome::action::planned:
		return "planned";
	case write_outcome::action::unchanged:
		return "unchanged";
	case write_outcome::action::written:
		break;
	}
	return "written";
}

const char *word_of(verification verify)
{
	switch (verify) {
	case verification::all:
		return "all";
	case verification::range:
		return "range";
	case verification::none:
		break;
	}
	return "none";
}

ordered_json tell(const write_outcome &found)
{
	return {{"range", described(found.range)},
		{"action", word_of(found.done)},
		{"verify", word_of(found.verify)},
		{"sha256", found.sha256},
		{"changed_bytes", or_null(found.changes)},
		{"erase_blocks", found.blocks},
		{"compared_bytes", found.compared},
		{"found_sha256", or_null(found.found_sha256)},
		{"difference", described(found.range_differs)},
		{"difference_around", described(found.around_differs)},
		{"header_bytes", or_null(found.header)},
		{"held_blocks", or_null(found.held_blocks)}};
}

ordered_json described(const backup_image &image)
{
	return {{"partition", image.partition},
		{"file", image.file},
		{"size", image.size},
		{"usable", or_null(image.usable)},
		{"sha256", image.sha256}};
}

ordered_json tell(const backup_outcome &found)
{
	ordered_json images = ordered_json::array();
	for (const backup_image &image : found.contents.images)
		images.push_back(described(image));
	return {{"folder", found.folder}, {"time", found.contents.time}, {"images", images}};
}

const char *word_of(restored_image::action action)
{
	switch (action) {
	case restored_image::action::planned:
		return "planned";
	case restored_image::action::unchanged:
		return "unchanged";
	case restored_image::action::written:
		return "written";
	case restored_image::action::refused:
		return "refused";
	case restored_image::action::failed:
		return "failed";
	case restored_image::action::left:
		break;
	}
	return "left";
}

ordered_json tell(const restore_outcome &found)
{
	ordered_json images = ordered_json::array();
	for (const restored_image &image : found.images) {
		images.push_back(described(image.image));
		images.back()["action"] = word_of(image.done);
		images.back()["changed_bytes"] = or_null(image.changes);
		images.back()["message"] = image.words;
	}
	return {{"folder", found.folder}, {"time", found.time}, {"dry_run", found.dry_run}, {"images", images}};
}

ordered_json tell(const spi_outcome &found)
{
	const spi_controller_config &config = found.config;
	return {{"instance", config.inst_id},
		{"settings_instance", config.cfg_inst_id},
		{"chip", config.sfc_chip_id},
		{"controller", config.sfc_ctrl},
		{"chip_select", config.sfc_cs},
		{"hardlock_type", config.hardlock_type},
		{"hardlock_value", config.hardlock_val},
		{"hardunlock_value", config.hardunlock_val}};
}

ordered_json described(const explained_message &found)
{
	ordered_json values = ordered_json::array();
	for (const message_value &value : found.values)
		values.push_back(
			{{"name", value.name}, {"text", value.text}, {"code", value.code ? described(*value.code) : ordered_json()}});
	const trouble &section = *found.section;
	return {{"text", found.message->text}, {"level", found.message->level}, {"group", section.group},   {"title", section.title},
		{"meaning", section.meaning},  {"look", section.look},		{"advice", section.advice}, {"values", values}};
}

ordered_json tell(const explain_outcome &found)
{
	ordered_json codes = ordered_json::array();
	for (const code_words &words : found.codes)
		codes.push_back(described(words));
	ordered_json messages = ordered_json::array();
	for (const explained_message &message : found.messages)
		messages.push_back(described(message));
	return {{"codes", codes}, {"messages", messages}};
}

ordered_json described(const failure &wrong)
{
	ordered_json code, system_error;
	if (wrong.cause.origin() == flash_mng::origin::module)
		code = described(wrong.code ? *wrong.code : explain_code(wrong.cause.code()));
	if (wrong.cause.origin() == flash_mng::origin::system)
		system_error = {{"errno", wrong.cause.error()}, {"meaning", wrong.cause.meaning()}};
	return {{"message", wrong.message}, {"hint", wrong.hint}, {"code", code}, {"system_error", system_error}};
}

} // namespace

std::string json_event(const transfer_event &event)
{
	const auto or_unknown = [](std::uint64_t number) { return number ? ordered_json(number) : ordered_json(); };
	const ordered_json line = {{"event", "transfer"},
				   {"state", event.state},
				   {"phase", event.phase},
				   {"partition", event.partition},
				   {"bytes", event.bytes},
				   {"bytes_per_second", or_unknown(event.bytes_per_second)},
				   {"done_bytes", event.done_bytes},
				   {"total_bytes", or_unknown(event.total_bytes)}};
	return line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string json_report(const std::string &command, const outcome *found, const failure *wrong, bool one_line)
{
	const exit_status exit = wrong ? wrong->exit : exit_status::done;
	ordered_json report = {{"command", command.empty() ? ordered_json(nullptr) : ordered_json(command)},
			       {"status", kind_of(exit)},
			       {"exit", static_cast<int>(exit)},
			       {"result", nullptr},
			       {"error", nullptr}};
	if (found)
		report["result"] = std::visit([](const auto &facts) { return tell(facts); }, *found);
	if (wrong)
		report["error"] = described(*wrong);
	return report.dump(one_line ? -1 : 2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace flashctl
