// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * A 32-bit Arm program that issues one command and tells its result:
 *
 *	compat32 COMMAND SIZE [NAME OFFSET LENGTH]
 *	compat32 COMMAND find INSTANCE NAME
 *
 * COMMAND is the command's number. Without NAME its argument is a record of SIZE bytes, filled with 0xEE. With NAME its argument is the
 * record of a transfer of LENGTH bytes, whose data are byte i = i * 7, and SIZE is not looked at; or that of a lookup. One line goes to the
 * standard output: the code, a space, and in hexadecimal the record's or the data's bytes, of a lookup those of the settings.
 */
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>

#include "interface.h"

_Static_assert(sizeof(void *) == 4, "this program is about 32-bit callers");

static uint32_t number(const char *text)
{
	return strtoul(text, NULL, 0);
}

static void tell(uint32_t code, const uint8_t *bytes, uint32_t size)
{
	printf("%u ", code);
	for (uint32_t i = 0; i < size; i++)
		printf("%02x", bytes[i]);
	printf("\n");
}

static uint32_t issue(int device, uint32_t command, void *record)
{
	int result = ioctl(device, command, record);

	return flash_mng_code(result, errno);
}

static void simple(int device, uint32_t command, uint32_t size)
{
	uint8_t *record = malloc(size + 1);

	memset(record, 0xEE, size);
	tell(issue(device, command, record), record, size);
}

static void transfer(int device, uint32_t command, char *const *argument)
{
	struct flash_mtd_io_arg range = { 0 };
	uint8_t *data;

	strncpy(range.name, argument[0], sizeof(range.name) - 1);
	range.offset = number(argument[1]);
	range.length = number(argument[2]);
	data = malloc(range.length + 1);
	for (uint32_t i = 0; i < range.length; i++)
		data[i] = i * 7;
	range.buffer = (uintptr_t)data;
	tell(issue(device, command, &range), data, range.length);
}

static void find(int device, uint32_t command, char *const *argument)
{
	struct flash_find_config_arg wanted = { 0 };

	wanted.inst_id = number(argument[0]);
	wanted.name_length = strlen(argument[1]);
	wanted.name = (uintptr_t)argument[1];
	tell(issue(device, command, &wanted), (const uint8_t *)&wanted.config, sizeof(wanted.config));
}

int main(int count, char **argument)
{
	int device = open(FLASH_MNG_DEVICE, O_RDWR | O_CLOEXEC);

	if (device < 0 || (count != 3 && count != 5 && count != 6)) {
		fprintf(stderr, "compat32: %s\n", device < 0 ? strerror(errno) : "wrong arguments");
		return 2;
	}
	if (count == 3)
		simple(device, number(argument[1]), number(argument[2]));
	else if (count == 5)
		find(device, number(argument[1]), argument + 3);
	else
		transfer(device, number(argument[1]), argument + 3);
	return 0;
}
