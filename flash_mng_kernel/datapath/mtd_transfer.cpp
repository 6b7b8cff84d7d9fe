// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Partitions read and written by name: the exported functions, and the transfer path through the block device for those that are not NAND.
#include "datapath/device_path.hpp"
#include "datapath/mtd_query.hpp"
#include "datapath/nand_transfer.hpp"
#include "flash_mng.h"
#include "kernel/open_file.hpp"
#include "platform/bounded.h"
#include "platform/messages.hpp"

using namespace flash_mng;

namespace {

// Results of the block device are judged by their low 32 bits, as messages print them. An error number is never a good result.
struct block_result {
	u32 low;
	bool error;

	explicit block_result(long long result) : low(static_cast<u32>(result)), error(is_error(result)) {}
	bool is(u32 expected) const { return !error && low == expected; }
};

// Whether a range ends beyond a partition. The partition's size counts modulo 2^32: one of 4 GiB has none.
bool ends_beyond(u32 end, const mtd_device_info &info)
{
	return end > static_cast<u32>(info.size);
}

u32 read_block_device(const char *mtd_name, const char *path, u32 offset, void *buf, u32 len)
{
	open_file file(path, LINUX_O_RDONLY);
	if (!file) {
		drv_log_record(module_log, ordinary, 0, "mtd read: open %s failed ret=%ld", path, file.error());
		return FLASH_MNG_NOT_OPENED;
	}

	if (const block_result position(file.seek(offset)); !position.is(offset)) {
		drv_log_record(module_log, ordinary, 0, "mtd read: mtd %s lseek failed, ret = %u ", mtd_name, position.low);
		return FLASH_MNG_FAILED;
	}
	if (const block_result count(file.read(buf, len)); !count.is(len)) {
		drv_log_record(module_log, ordinary, 0, "mtd %s read failed, ret = %u ", mtd_name, count.low);
		return FLASH_MNG_FAILED;
	}
	return FLASH_MNG_OK;
}

u32 write_block_device(const char *mtd_name, const char *path, u32 offset, const void *buf, u32 len)
{
	open_file file(path, LINUX_O_RDWR);
	if (!file) {
		drv_log_record(module_log, ordinary, 0, "mtd write: open %s fail. (ret=%ld)", path, file.error());
		return FLASH_MNG_NOT_OPENED;
	}

	if (const block_result position(file.seek(offset)); !position.is(offset)) {
		drv_log_record(module_log, ordinary, 0, "mtd write: mtd %s lseek failed, ret = %u ", mtd_name, position.low);
		return FLASH_MNG_FAILED;
	}
	if (const block_result count(file.write(buf, len)); !count.is(len)) {
		drv_log_record(module_log, ordinary, 0, "mtd write: mtd %s write failed, ret = %u ", mtd_name, count.low);
		return FLASH_MNG_FAILED;
	}
	file.flush();
	return FLASH_MNG_OK;
}

} // namespace

extern "C" {

u32 drv_flash_mtd_read(const char *mtd_name, u32 offset, void *buf, u32 len)
{
	mtd_device_info info = {};
	device_path path = {};
	u32 unclear = static_cast<u32>(memset_s(&info, sizeof(info), 0, sizeof(info)));
	unclear |= static_cast<u32>(memset_s(path, sizeof(path), 0, sizeof(path)));
	if (unclear) {
		drv_log_record(module_log, ordinary, 0, "init mtd_info or dev_name failure, ret:%u", unclear);
		return FLASH_MNG_CLEAR_FAILED;
	}

	if (const u32 code = drv_mtd_get_info(mtd_name, &info)) {
		drv_log_record(module_log, ordinary, 0, "mtd info not found, name:%s ret:%u", printable(mtd_name), code);
		return code;
	}
	if (!buf || len == 0) {
		drv_log_record(module_log, ordinary, 0, "mtd read: input argument are invalid");
		return FLASH_MNG_NO_DATA;
	}
	u32 end = 0;
	if (__builtin_add_overflow(offset, len, &end)) {
		drv_log_record(module_log, ordinary, 0, "mtd read: sum of offset and len overflow");
		return FLASH_MNG_OVERFLOW;
	}
	if (ends_beyond(end, info)) {
		drv_log_record(module_log, ordinary, 0, "mtd read: read over mtd area");
		return FLASH_MNG_INVALID;
	}

	const int index = static_cast<int>(info.index);
	if (drv_flash_mtd_is_nand(info.type)) {
		if (!form_flash_path(path, info.index)) {
			drv_log_record(module_log, ordinary, 0, "Flash mng mtd_devname:/dev/mtd%d failure", index);
			return FLASH_MNG_COPY_FAILED;
		}
		return drv_nand_flash_mtd_read(mtd_name, path, offset, buf, len);
	}
	if (!form_block_path(path, info.index)) {
		drv_log_record(module_log, ordinary, 0, "Flash mng mtd_devname:/dev/mtdblock%d failure", index);
		return FLASH_MNG_COPY_FAILED;
	}
	return read_block_device(mtd_name, path, offset, buf, len);
}

u32 drv_flash_mtd_write(const char *mtd_name, u32 offset, const void *buf, u32 len)
{
	mtd_device_info info = {};
	device_path path = {};

	if (const u32 code = drv_mtd_get_info(mtd_name, &info)) {
		drv_log_record(module_log, ordinary, 0, "mtd write: mtd info not found, name:%s ret:%u", printable(mtd_name), code);
		return code;
	}
	if (!buf || len == 0) {
		drv_log_record(module_log, ordinary, 0, "mtd write: input argument are invalid");
		return FLASH_MNG_NO_DATA;
	}
	u32 end = 0;
	if (__builtin_add_overflow(offset, len, &end)) {
		drv_log_record(module_log, ordinary, 0, "mtd write: sum of offset and len overflow");
		return FLASH_MNG_OVERFLOW;
	}
	if (ends_beyond(end, info)) {
		drv_log_record(module_log, ordinary, 0, "mtd write: read over mtd area");
		return FLASH_MNG_INVALID;
	}

	const int index = static_cast<int>(info.index);
	if (drv_flash_mtd_is_nand(info.type)) {
		if (!form_flash_path(path, info.index)) {
			drv_log_record(module_log, ordinary, 0, "Flash mng mtd_devname:/dev/mtd%d failure", index);
			return FLASH_MNG_COPY_FAILED;
		}
		return drv_nand_flash_mtd_write(mtd_name, path, offset, buf, len);
	}
	if (!form_block_path(path, info.index)) {
		drv_log_record(module_log, ordinary, 0, "Flash mng write mtd_devname:/dev/mtdblock%d failure", index);
		return FLASH_MNG_COPY_FAILED;
	}
	return write_block_device(mtd_name, path, offset, buf, len);
}
}
