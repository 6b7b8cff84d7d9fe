// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "datapath/nand_transfer.hpp"

#include "kernel/memory.hpp"
#include "kernel/mutex_guard.hpp"
#include "platform/bounded.h"
#include "platform/flash_buffer.h"
#include "platform/messages.hpp"
#include "uapi/flash_mng.h"

using namespace flash_mng;

namespace {

// The usable size as it stands now.
u32 usable_size(const mtd_info_entry &entry)
{
	return __atomic_load_n(&entry.avail_size, __ATOMIC_RELAXED);
}

u32 smaller(u32 a, u32 b)
{
	return a < b ? a : b;
}

u32 read_image(mtd_info_entry &entry, const char *path, u8 *image, u32 size)
{
	const mutex_guard hold(entry.lock);
	return plat_mtd_read_buf(path, 0, image, size);
}

enum class write_step { read, patch, write_back };

struct write_result {
	write_step step;
	u32 code;
};

// Reads the partition's usable bytes, patches the range and writes them back, all under the entry's lock. No step is given more bytes
// than the image holds, whatever the usable size becomes meanwhile.
write_result rewrite(mtd_info_entry &entry, const char *path, u8 *image, u32 image_size, u32 offset, const void *buf, u32 len)
{
	const mutex_guard hold(entry.lock);
	if (const u32 status = plat_mtd_read_buf(path, 0, image, smaller(usable_size(entry), image_size)))
		return {write_step::read, status};

	const u32 usable = smaller(usable_size(entry), image_size);
	const u32 start = smaller(offset, usable);
	if (const int failed = memcpy_s(image + start, usable - start, buf, len))
		return {write_step::patch, static_cast<u32>(failed)};

	return {write_step::write_back, plat_mtd_update_buf(path, 0, image, smaller(usable_size(entry), image_size))};
}

} // namespace

extern "C" {

u32 drv_nand_flash_mtd_total_read(mtd_info_entry *entry, const char *path, u32 offset, void *buf, u32 len)
{
	drv_log_record(module_log, trace, 0, "mtd total read: mtd %s offset %u len %u", path, offset, len);

	// A range that ends beyond 2^32 asks for an image that no allocator has.
	u32 total = 0;
	if (__builtin_add_overflow(offset, len, &total))
		return FLASH_MNG_NO_BUFFER;

	virtual_buffer image(vzalloc(total));
	if (!image)
		return FLASH_MNG_NO_BUFFER;

	u32 failed = read_image(*entry, path, image.get(), total);
	if (!failed)
		failed = static_cast<u32>(memcpy_s(buf, len, image.get() + offset, len));
	image.reset();

	if (failed)
		drv_log_record(module_log, ordinary, 0, "mtd total read: total_len %u fail 0x%x", total, failed);
	return failed;
}

u32 drv_nand_flash_mtd_total_write(mtd_info_entry *entry, const char *path, u32 offset, const void *buf, u32 len)
{
	drv_log_record(module_log, ordinary, 0, "mtd total write: mtd %s offset %u len %u avail_size %u", path, offset, len,
		       usable_size(*entry));

	if (usable_size(*entry) == 0)
		return FLASH_MNG_EMPTY_RANGE;

	const u32 image_size = usable_size(*entry);
	virtual_buffer image(vzalloc(image_size));
	if (!image)
		return FLASH_MNG_NO_BUFFER;

	const write_result result = rewrite(*entry, path, image.get(), image_size, offset, buf, len);
	image.reset();
	if (result.code == FLASH_MNG_OK)
		return FLASH_MNG_OK;

	switch (result.step) {
	case write_step::read:
		drv_log_record(module_log, serious, 0, "mtd total write: read buf len %u fail 0x%x", usable_size(*entry), result.code);
		break;
	case write_step::patch:
		drv_log_record(module_log, serious, 0, "mtd total write: memcpy offset %u len %u fail 0x%x", offset, len, result.code);
		break;
	default:
		drv_log_record(module_log, serious, 0, "mtd total write: write buf len %u fail 0x%x", usable_size(*entry), result.code);
		break;
	}
	return result.code;
}

u32 drv_nand_flash_mtd_read(const char *mtd_name, const char *path, u32 offset, void *buf, u32 len)
{
	if (mtd_info_entry *const entry = drv_flash_mtd_info_find(mtd_name))
		return drv_nand_flash_mtd_total_read(entry, path, offset, buf, len);

	drv_log_record(module_log, trace, 0, "mtd normal read: mtd %s offset %u len %u", mtd_name, offset, len);
	return plat_mtd_read_buf(path, offset, buf, len);
}

u32 drv_nand_flash_mtd_write(const char *mtd_name, const char *path, u32 offset, const void *buf, u32 len)
{
	if (mtd_info_entry *const entry = drv_flash_mtd_info_find(mtd_name))
		return drv_nand_flash_mtd_total_write(entry, path, offset, buf, len);

	drv_log_record(module_log, ordinary, 0, "mtd normal write: mtd %s offset %u len %u", mtd_name, offset, len);
	return plat_mtd_update_buf(path, offset, buf, len);
}
}
