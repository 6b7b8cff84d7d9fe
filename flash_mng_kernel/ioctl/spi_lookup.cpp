// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "ioctl/handlers.hpp"
#include "kernel/user_copy.h"
#include "spi/registry.hpp"
#include "uapi/flash_mng.h"

using namespace flash_mng;

namespace {

bool read_request(flash_find_config_arg &request, unsigned long argument)
{
	return linux_copy_config_query_from_user(&request, argument) == 0;
}

// The count of bytes that could not be written is the command's result.
u32 answer(unsigned long argument, const flash_find_config_arg &request)
{
	return static_cast<u32>(linux_copy_config_query_to_user(argument, &request));
}

} // namespace

extern "C" {

long drv_flash_find_config(unsigned long argument)
{
	flash_find_config_arg request = {};
	if (!read_request(request, argument))
		return FLASH_MNG_REQUEST_UNREADABLE;
	if (request.name_length > FLASH_MNG_NAME_SIZE)
		return FLASH_MNG_BAD_LENGTH;

	alignas(u64) char name[FLASH_MNG_NAME_SIZE + 1] = {}; // so that Linux compares it word by word
	if (request.name_length && linux_copy_from_user(name, request.name, request.name_length))
		return FLASH_MNG_REQUEST_UNREADABLE;
	if (name[0] == '\0' || !copy_config_of_partition(name, request.config))
		return FLASH_MNG_NOT_FOUND;
	return answer(argument, request);
}

long drv_flash_find_config_by_inst(unsigned long argument)
{
	flash_find_config_arg request = {};
	if (!read_request(request, argument))
		return FLASH_MNG_REQUEST_UNREADABLE;
	if (!copy_config_of_instance(request.inst_id, request.config))
		return FLASH_MNG_NOT_FOUND;
	return answer(argument, request);
}
}
