// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "ioctl/handlers.hpp"
#include "kernel/device.h"
#include "platform/messages.hpp"
#include "uapi/flash_mng.h"

using namespace flash_mng;

namespace {

struct flash_command {
	u32 number;
	long (*handler)(unsigned long argument);
};

} // namespace

extern "C" {

// The commands, in the order of their numbers.
extern const flash_command g_flash_ioctl_cmd[];
constexpr flash_command g_flash_ioctl_cmd[] = {
	{FLASH_MNG_GET_NAND_PART_INFO, flash_get_nand_part_info},	{FLASH_MNG_GET_PART_NUM, flash_get_part_num},
	{FLASH_MNG_GET_NAND_IS_EXIST, flash_get_nand_is_exist},		{FLASH_MNG_FIND_CONFIG, drv_flash_find_config},
	{FLASH_MNG_FIND_CONFIG_BY_INST, drv_flash_find_config_by_inst}, {FLASH_MNG_MTD_READ, drv_nand_flash_mtd_read_ioctl},
	{FLASH_MNG_MTD_WRITE, drv_nand_flash_mtd_write_ioctl},		{FLASH_MNG_GET_MTD_STATISTICS, flash_get_mtd_statistics},
};
}

namespace {

constexpr u32 command_count = sizeof(g_flash_ioctl_cmd) / sizeof(flash_command);

// The row in which a command is, as the lowest bytes of the numbers follow one another. Other numbers have a row of the table too, which is
// another command's: not even a processor that guesses ahead is led out of it.
constexpr u32 row_of(u32 number)
{
	return (number - g_flash_ioctl_cmd[0].number) % 256 % command_count;
}

static_assert(
	[] {
		for (const flash_command &row : g_flash_ioctl_cmd)
			if (&row != &g_flash_ioctl_cmd[row_of(row.number)])
				return false;
		return true;
	}(),
	"the lowest bytes of the commands' numbers follow one another, and so do their rows");

} // namespace

extern "C" {

int flash_open(inode *, file *)
{
	return 0;
}

// A code is handed on zero-extended, never as a negative number.
long flash_ioctl(file *, unsigned int command, unsigned long argument)
{
	const flash_command &row = g_flash_ioctl_cmd[row_of(command)];
	if (row.number == command)
		return row.handler(argument);

	drv_log_record(module_log, ordinary, 0, "Flash cmd not support");
	return FLASH_MNG_UNKNOWN_COMMAND;
}
}
