// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "functions.hpp"

#include <array>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "config/flash_config.hpp"
#include "config/mtd_info.hpp"
#include "datapath/mtd_query.hpp"
#include "datapath/nand_transfer.hpp"
#include "datapath/section_transfer.hpp"
#include "flash_mng.h"
#include "inner_calls.hpp"
#include "ioctl/handlers.hpp"
#include "kernel/device.h"
#include "simulation.hpp"
#include "spi/driver.hpp"
#include "spi/registry.hpp"
#include "spi/spi_config.hpp"

extern "C" u8 g_flash_mng_patch[40];

namespace simulation {

namespace {

using arguments = const std::uint64_t *;

template <typename type> type from_number(std::uint64_t number)
{
	if constexpr (std::is_pointer_v<type>)
		return reinterpret_cast<type>(number);
	else
		return static_cast<type>(number);
}

template <typename type> std::uint64_t to_number(type value)
{
	if constexpr (std::is_pointer_v<type>)
		return reinterpret_cast<std::uint64_t>(value);
	else
		return static_cast<std::uint64_t>(value);
}

// The call of one function with numbers turned into its own parameter types.
template <auto function> struct caller;

template <typename result, typename... parameters, result (*function)(parameters...)> struct caller<function> {
	static constexpr std::size_t count = sizeof...(parameters);

	static std::uint64_t call(arguments values) { return call(values, std::index_sequence_for<parameters...>()); }

private:
	template <std::size_t... i> static std::uint64_t call([[maybe_unused]] arguments values, std::index_sequence<i...>)
	{
		if constexpr (std::is_void_v<result>) {
			function(from_number<parameters>(values[i])...);
			return 0;
		} else {
			return to_number(function(from_number<parameters>(values[i])...));
		}
	}
};

struct named_function {
	std::string_view name;
	std::size_t parameters;
	std::uint64_t (*call)(arguments);
};

// A call by a case is no call by the module.
#define FUNCTION_ITSELF(name)                                                                                                              \
	named_function                                                                                                                     \
	{                                                                                                                                  \
#name, caller < __real_##name> ::count, caller < __real_##name> ::call                                                     \
	}

#define FUNCTION(name)                                                                                                                     \
	named_function                                                                                                                     \
	{                                                                                                                                  \
#name, caller < name> ::count, caller < name> ::call                                                                       \
	}

constexpr std::array functions = {
	// exported
	FUNCTION(drv_flash_mtd_read),
	FUNCTION(drv_flash_mtd_write),
	FUNCTION(drv_flash_get_mtd_size),
	FUNCTION(drv_flash_get_nand_part_num),
	FUNCTION(drv_flash_get_nand_part_size_info),
	FUNCTION_ITSELF(drv_flash_get_nand_is_exist),
	FUNCTION(drv_flash_read),
	FUNCTION(drv_flash_write),
	FUNCTION(drv_flash_driver_register),
	FUNCTION(drv_flash_driver_unregister),
	FUNCTION(drv_flash_get_size),
	FUNCTION(drv_flash_create),
	FUNCTION(drv_flash_destroy),
	FUNCTION(drv_flash_get_type),
	FUNCTION(flash_mng_drv_patch_func1),
	FUNCTION(flash_mng_drv_patch_func2),
	// configuration
	FUNCTION(drv_flash_init),
	FUNCTION(drv_flash_exit),
	FUNCTION(get_flash_cfg),
	FUNCTION(get_xml_flash_cfg),
	FUNCTION(get_xml_compatible_flash_cfg),
	FUNCTION(flash_cfg_parse),
	FUNCTION(get_usrdata_mtd_name),
	FUNCTION(drv_flash_mtd_info_init),
	FUNCTION(drv_flash_mtd_info_find),
	FUNCTION(drv_flash_mtd_info_deinit),
	// data path
	FUNCTION(flash_check_name),
	FUNCTION(drv_mtd_get_info),
	FUNCTION(drv_flash_mtd_is_nand),
	FUNCTION(drv_nand_flash_mtd_read),
	FUNCTION(drv_nand_flash_mtd_write),
	FUNCTION(drv_nand_flash_mtd_total_read),
	FUNCTION(drv_nand_flash_mtd_total_write),
	FUNCTION(flash_addr_valid),
	// SPI flash instances
	FUNCTION(drv_flash_get_sfc_config),
	FUNCTION(drv_flash_get_spi_info),
	FUNCTION(drv_flash_get_unrequired_spi_cfg),
	FUNCTION(drv_flash_spi_chip_entry_parse),
	FUNCTION(drv_flash_xml_get_attr_string),
	FUNCTION(drv_flash_xml_get_value_u32),
	FUNCTION(drv_flash_find_flash_info),
	FUNCTION(release_flash_mtd_name_alloc),
	FUNCTION(release_flash_info_alloc),
	FUNCTION(drv_flash_init_info_mtdname),
	// commands
	FUNCTION(flash_get_nand_part_info),
	FUNCTION(flash_get_part_num),
	FUNCTION(flash_get_nand_is_exist),
	FUNCTION(flash_get_mtd_statistics),
	FUNCTION(drv_flash_find_config),
	FUNCTION(drv_flash_find_config_by_inst),
	FUNCTION(drv_nand_flash_mtd_read_ioctl),
	FUNCTION(drv_nand_flash_mtd_write_ioctl),
	// the control device
	FUNCTION(flash_ioctl),
};

#undef FUNCTION
#undef FUNCTION_ITSELF

struct named_global {
	std::string_view name;
	void *address;
	std::size_t size;
};

#define GLOBAL(name)                                                                                                                       \
	named_global                                                                                                                       \
	{                                                                                                                                  \
#name, &name, sizeof(name)                                                                                                 \
	}

const std::array globals = {
	GLOBAL(g_flash_config_list),   GLOBAL(g_usrdata_mtd_name),	  GLOBAL(g_usrdata_mtd_name_ready),
	GLOBAL(g_flash_mtd_info_list), GLOBAL(g_flash_mtd_info_list_num), GLOBAL(g_spi_flash_info_list),
	GLOBAL(g_flash_funcs),	       GLOBAL(g_flash_mng_patch),
};

#undef GLOBAL

std::span<std::byte> bytes_of(const named_global &global)
{
	return {static_cast<std::byte *>(global.address), global.size};
}

using image = std::vector<std::byte>;

std::vector<image> images_of_globals()
{
	std::vector<image> images;

	for (const auto &global : globals)
		images.emplace_back(bytes_of(global).begin(), bytes_of(global).end());
	return images;
}

template <typename table> const auto &row_named(const table &rows, std::string_view name)
{
	for (const auto &row : rows) {
		if (row.name == name)
			return row;
	}
	misuse("the module has nothing named %.*s, or simulation/functions.cpp does not list it", static_cast<int>(name.size()),
	       name.data());
}

// Taken before main(), so before any code of the module runs.
const std::vector<image> program_images = images_of_globals();

} // namespace

std::uint64_t call_function(std::string_view name, std::span<const std::uint64_t> arguments)
{
	const auto &function = row_named(functions, name);

	if (arguments.size() != function.parameters)
		misuse("%s takes %zu arguments and is called with %zu", function.name.data(), function.parameters, arguments.size());
	return function.call(arguments.data());
}

std::span<const std::byte> global_named(std::string_view name)
{
	return bytes_of(row_named(globals, name));
}

void refresh_globals()
{
	for (std::size_t i = 0; i < globals.size(); ++i)
		std::memcpy(globals[i].address, program_images[i].data(), globals[i].size);
}

} // namespace simulation
