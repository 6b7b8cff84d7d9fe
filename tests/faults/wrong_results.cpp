// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "wrong_results.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>

#include "../../reference_platform/include/platform_status.h"

namespace faults {

namespace {

using results = std::vector<long long>;

constexpr long long last_error = -4095;
constexpr long long two_to_32 = 1LL << 32;
constexpr long long status_minus_one = 0xFFFFFFFF;

// One number of a rendered call, counted from 0.
long long number_of(std::string_view call, unsigned position)
{
	call.remove_prefix(call.find('(') + 1);
	for (; position > 0; --position)
		call.remove_prefix(call.find(", ") + 2);
	long long number = 0;
	std::from_chars(call.data(), call.data() + call.size(), number);
	return number;
}

results error_pointers(std::string_view)
{
	return {-ENODEV, 0, -EBUSY, -EINTR, -1, last_error};
}

results open_errors(std::string_view)
{
	return {-ENOENT, 0, -EIO, -EINTR, -ENOMEM, last_error};
}

results no_memory(std::string_view)
{
	return {0};
}

results registration_errors(std::string_view)
{
	return {-EBUSY, -ENOMEM, -1, INT32_MIN, 1};
}

// Some or all bytes stay uncopied.
results bytes_left(std::string_view call)
{
	const long long count = number_of(call, 2);
	return {count, 1, (count + 1) / 2};
}

// An error, a place that was not asked for, and one that differs from it above 32 bits only.
results seek_results(std::string_view call)
{
	const long long wanted = number_of(call, 1);
	results wrong = {-EINVAL, -EIO, -EINTR, -1, last_error, wanted + 1, wanted + 512};
	if (wanted == 0)
		wrong.push_back(two_to_32);
	return wrong;
}

results transfer_results(std::string_view call)
{
	const long long count = number_of(call, 2);
	results wrong = {-EIO, -EINTR, -ENOSPC, -1, last_error, count + 1};
	if (count > 0)
		wrong.push_back(0);
	if (count > 1)
		wrong.push_back(count - 1);
	return wrong;
}

results flush_errors(std::string_view)
{
	return {-EIO, -EINTR};
}

results wait_results(std::string_view)
{
	return {-EINTR, -1, 1, INT32_MIN};
}

results bounded_failures(std::string_view)
{
	return {BOUNDED_NO_ROOM, BOUNDED_BAD_ARGUMENT, -1};
}

results format_failures(std::string_view)
{
	return {BOUNDED_FORMAT_FAILED, -EINVAL, INT32_MIN};
}

results times(std::string_view)
{
	return {0, -1};
}

results none_there(std::string_view)
{
	return {0};
}

// A status of the service, and the odd ones that another platform may have.
template <std::uint32_t usual> results statuses(std::string_view)
{
	return {usual, 1, 0x80000000, status_minus_one};
}

struct row {
	std::string_view function;
	results (*wrong)(std::string_view call);
};

const row failing[] = {
	{"misc_register", registration_errors},
	{"get_mtd_device_nm", error_pointers},
	{"get_mtd_device", error_pointers},
	{"linux_kzalloc", no_memory},
	{"linux_kcalloc", no_memory},
	{"vzalloc", no_memory},
	{"vmalloc", no_memory},
	{"linux_kstrdup", no_memory},
	{"linux_copy_to_user", bytes_left},
	{"linux_copy_from_user", bytes_left},
	{"filp_open", open_errors},
	{"vfs_llseek", seek_results},
	{"kernel_read", transfer_results},
	{"kernel_write", transfer_results},
	{"vfs_fsync", flush_errors},
	{"down_killable", wait_results},
	{"drv_log_register", statuses<LOG_TOO_MANY>},
	{"drv_log_deregister", statuses<LOG_NOT_REGISTERED>},
	{"log_get_timestamp_ms", times},
	{"xml_get_specified_node_num", statuses<XML_NO_INSTANCE>},
	{"xml_get_entry_list", statuses<XML_NO_NODE>},
	{"xml_get_attr_value_u32", statuses<XML_BAD_NUMBER>},
	{"xml_get_attr_string", statuses<XML_TEXT_TOO_LONG>},
	{"drv_board_get_bom_value", statuses<CAPABILITY_UNKNOWN>},
	{"strcpy_s", bounded_failures},
	{"memcpy_s", bounded_failures},
	{"memset_s", bounded_failures},
	{"sprintf_s", format_failures},
	{"snprintf_s", format_failures},
	{"plat_mtd_read_buf", statuses<FLASH_BUFFER_UNCORRECTABLE>},
	{"plat_mtd_update_buf", statuses<FLASH_BUFFER_ERASE_FAILED>},
	{"xml_is_node_exist", statuses<XML_BAD_ARGUMENT>},
	{"xml_get_entry_num", statuses<XML_NO_NODE>},
	{"xml_get_element_value_u32", statuses<XML_NO_ELEMENT>},
	{"xml_get_element_string", statuses<XML_NO_ELEMENT>},
	{"xml_is_element_exist", none_there},
	{"drv_common_parse_parent_id_card_id", statuses<INSTANCE_NO_PARENT>},
	{"drv_hard_trylock", statuses<HARD_LOCK_BUSY>},
	{"drv_hard_unlock", statuses<HARD_LOCK_BAD_OWNER>},
	{"drv_flash_get_nand_is_exist", statuses<417>},
	{"suite_driver_get_size", statuses<SPI_FLASH_UNKNOWN>},
	{"suite_driver_create", statuses<SPI_FLASH_MTD_FAILED>},
	{"suite_driver_destroy", statuses<SPI_FLASH_IN_USE>},
};

// They give nothing that could be wrong, or do their work whatever they give.
constexpr std::string_view never_failing[] = {
	"misc_deregister",
	"put_mtd_device",
	"kfree",
	"vfree",
	"filp_close", // the file is closed whatever it gives
	"linux_spin_lock",
	"linux_spin_unlock",
	"linux_mutex_init",
	"linux_mutex_lock",
	"mutex_unlock",
	"linux_semaphore_init",
	"up",
	"linux_list_add_tail",
	"linux_list_del",
	"drv_log_record",
	"log_module_init_end",
};

constexpr std::string_view functions[] = {
#define FLASH_CALL(name, arguments) #name,
#include "calls.def"
#undef FLASH_CALL
};

} // namespace

std::string_view function_of(std::string_view call)
{
	return call.substr(0, call.find('('));
}

std::vector<long long> wrong_results(std::string_view call)
{
	for (const row &row : failing)
		if (row.function == function_of(call))
			return row.wrong(call);
	return {};
}

std::vector<std::string> badly_listed_functions()
{
	std::vector<std::string> bad;

	for (std::string_view function : functions) {
		const auto times_listed =
			std::count_if(std::begin(failing), std::end(failing), [&](const row &row) { return row.function == function; }) +
			std::count(std::begin(never_failing), std::end(never_failing), function);
		if (times_listed != 1)
			bad.emplace_back(function);
	}
	return bad;
}

} // namespace faults
