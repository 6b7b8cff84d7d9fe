// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Transfers: listed partitions from a program; partitions and sections from the kernel.
#include "programs.hpp"
#include "record.hpp"
#include "requests.hpp"

namespace bench {

namespace {

constexpr std::uint32_t kib = 1024;
constexpr std::uint32_t mib = 1024 * kib;
constexpr std::uint32_t usrdata_size = 8 * mib;
constexpr std::uint32_t boot_size = 1 * mib;
constexpr char usrdata[] = "usrdata"; // listed, 8 MiB
constexpr char boot[] = "boot";	      // listed, 1 MiB
constexpr char rootfs[] = "rootfs";   // NAND, not listed
constexpr char ram[] = "ram0";	      // memory-backed: the block device's way, and the sections

unsigned times_for(std::uint32_t bytes)
{
	return bytes <= 64 * kib ? 8 : 2;
}

void fill(const char *partition, std::uint32_t size)
{
	bytes content(size);
	for (std::uint32_t i = 0; i < size; ++i)
		content[i] = static_cast<std::uint8_t>(i ^ i >> 8 ^ i >> 16);
	flash_mtd_io_arg request = io_request(partition, 0, size, content.data());
	if (whole_command(FLASH_MNG_MTD_WRITE, &request))
		fail(std::string("cannot fill ") + partition);
}

void read_listed(recorder &figures, const char *subject, std::uint32_t offset, std::uint32_t length)
{
	const row of = {"read of a listed partition", subject, length, "bytes"};
	const std::string character_device = device_path("mtd", usrdata);
	bytes buffer(length);
	const unsigned times = offset + length <= mib ? times_for(length) : 2;

	flash_mtd_io_arg request = io_request(usrdata, offset, length, buffer.data());
	figures.count(of, module_way, times, [&] { return whole_command(FLASH_MNG_MTD_READ, &request); });
	figures.count(of, "service call and one copy",
		      kernel_call(BENCH_LISTED_READ, times, usrdata, character_device, offset, buffer, length));
	figures.count(of, "pread of /dev/mtdN", times, [&] { return read_range(character_device, offset, buffer.data(), length); });
	figures.count(of, "nanddump", 1, [&] {
		return run_program({"/usr/sbin/nanddump", "-q", "-s", std::to_string(offset), "-l", std::to_string(length), "-f",
				    "/dev/null", character_device});
	});
}

std::uint32_t erase_and_write(const std::string &path, const char *file)
{
	const std::uint32_t status = run_program({"/usr/sbin/flash_erase", "-q", path, "0", "0"});
	return status ? status : run_program({"/usr/sbin/nandwrite", "-q", path, file});
}

// What an operation does on flash; counted apart from its instructions, which the probes would add to.
void count_work(recorder &figures, const row &of, const std::string &way, const std::function<std::uint32_t()> &operation)
{
	if (!figures.is_full())
		return;
	bench_work work = {};
	if (figures.kernel().command(BENCH_WATCH, 1ul) || operation() || figures.kernel().command(BENCH_WORK, &work) ||
	    figures.kernel().command(BENCH_WATCH, 0ul))
		fail("the work on flash cannot be counted: " + way);
	figures.note(of, way, "pages read", work.pages_read);
	figures.note(of, way, "pages programmed", work.pages_programmed);
	figures.note(of, way, "blocks erased", work.blocks_erased);
}

void count_call(recorder &figures, const row &of, const std::string &way, bench_request request)
{
	figures.count(of, way, request);
	request.times = 1;
	count_work(figures, of, way, [&] { return run_call(figures.kernel(), request); });
}

void rewrite_listed(recorder &figures, std::uint32_t length)
{
	const row of = {"rewrite of a listed partition of 1 MiB", "change and write back", length, "bytes"};
	const std::string character_device = device_path("mtd", boot);
	const char image[] = "/tmp/image";
	bytes buffer(length);
	for (std::uint32_t i = 0; i < length; ++i)
		buffer[i] = static_cast<std::uint8_t>(i * 7 ^ i >> 9);
	flash_mtd_io_arg request = io_request(boot, 0, length, buffer.data());
	const auto through_module = [&] {
		for (std::uint32_t i = 0; i < length; i += 4 * kib)
			++buffer[i];
		return whole_command(FLASH_MNG_MTD_WRITE, &request);
	};
	const auto with_tools = [&] { return erase_and_write(character_device, image); };
	std::ofstream(image) << std::string(boot_size, 'x');

	figures.count(of, module_way, 2, through_module);
	count_work(figures, of, module_way, through_module);
	bench_request bare = kernel_call(BENCH_LISTED_WRITE, 2, boot, character_device, 0, buffer, length);
	bare.usable = boot_size;
	count_call(figures, of, "service calls and one copy", bare);
	figures.count(of, "flash_erase and nandwrite", 1, with_tools);
	count_work(figures, of, "flash_erase and nandwrite", with_tools);
}

// The service alone: what it does on flash to change so many bytes of the partition that it is given whole.
void update_by_service(recorder &figures, std::uint32_t changed)
{
	const row of = {"flash buffer service", "update of 1 MiB in which so much differs", changed, "bytes"};
	bytes image(boot_size, 0x33);
	bench_request update = kernel_call(BENCH_SERVICE_UPDATE, 1, boot, device_path("mtd", boot), 0, image, boot_size);
	update.changed = 0;
	if (run_call(figures.kernel(), update))
		fail("the service does not update");
	update.changed = changed;
	count_work(figures, of, "the service call", [&] { return run_call(figures.kernel(), update); });
}

void read_by_service(recorder &figures)
{
	const row of = {"flash buffer service", "read", boot_size, "bytes"};
	bytes image(boot_size);
	bench_request read = kernel_call(BENCH_SERVICE_READ, 1, boot, device_path("mtd", boot), 0, image, boot_size);
	count_work(figures, of, "the service call", [&] { return run_call(figures.kernel(), read); });
}

struct kernel_row {
	const char *area;
	const char *partition;
	const char *device_kind;
	bench_call module_call;
	bench_call bare_call;
	const char *bare_way;
};

void count_kernel_row(recorder &figures, const kernel_row &what, const char *subject, std::uint32_t length)
{
	const row of = {what.area, subject, length, "bytes"};
	const std::string path = device_path(what.device_kind, what.partition);
	bytes buffer(length, 0x5a);
	bench_request call = kernel_call(what.module_call, times_for(length), what.partition, path, 0, buffer, length);
	call.section_id = 8;
	call.usable = boot_size;
	figures.count(of, module_way, call);
	call.call = what.bare_call;
	figures.count(of, what.bare_way, call);
}

} // namespace

void listed_partitions(recorder &figures)
{
	if (!figures.is_traced())
		fill(usrdata, usrdata_size);
	for (const std::uint32_t length : {4 * kib, 64 * kib, mib, usrdata_size})
		read_listed(figures, "at the start", 0, length);
	for (const std::uint32_t length : {4 * kib, 64 * kib, mib})
		read_listed(figures, "at the end", usrdata_size - length, length);
	for (const std::uint32_t length : {4 * kib, boot_size})
		rewrite_listed(figures, length);
}

void service(recorder &figures)
{
	if (!figures.is_full())
		return;
	read_by_service(figures);
	for (const std::uint32_t changed : {0u, 4 * kib, boot_size})
		update_by_service(figures, changed);
}

void partitions(recorder &figures)
{
	const kernel_row rows[] = {
		{"exported read, NAND listed", boot, "mtd", BENCH_PARTITION_READ, BENCH_IMAGE_READ, "service call and one copy"},
		{"exported write, NAND listed", boot, "mtd", BENCH_PARTITION_WRITE, BENCH_IMAGE_WRITE, "service calls and one copy"},
		{"exported read, NAND not listed", rootfs, "mtd", BENCH_PARTITION_READ, BENCH_SERVICE_READ, "the service call"},
		{"exported write, NAND not listed", rootfs, "mtd", BENCH_PARTITION_WRITE, BENCH_SERVICE_UPDATE, "the service call"},
		{"exported read, block device", ram, "mtdblock", BENCH_PARTITION_READ, BENCH_BLOCK_READ, "open, seek, read, close"},
		{"exported write, block device", ram, "mtdblock", BENCH_PARTITION_WRITE, BENCH_BLOCK_WRITE,
		 "open, seek, write, fsync, close"},
	};
	for (const kernel_row &what : rows)
		for (const std::uint32_t length : {4 * kib, 64 * kib, mib})
			count_kernel_row(figures, what, "at the start", length);

	const row size = {"exported queries", "size of a partition", 1, "call"};
	bytes none(1);
	figures.count(size, module_way, kernel_call(BENCH_PARTITION_SIZE, 16, ram, "", 0, none, 1));
	figures.count(size, "find the device by name", kernel_call(BENCH_DEVICE_BY_NAME, 16, ram, "", 0, none, 1));
}

void sections(recorder &figures)
{
	const kernel_row rows[] = {
		{"section read", ram, "mtdblock", BENCH_SECTION_READ, BENCH_BLOCK_READ, "open, seek, read, close"},
		{"section write", ram, "mtdblock", BENCH_SECTION_WRITE, BENCH_BLOCK_SYNC_WRITE, "open, seek, write, close"},
	};
	for (const kernel_row &what : rows)
		for (const std::uint32_t length : {512u, 64 * kib, mib})
			count_kernel_row(figures, what, "the last of 8 rows", length);
}

} // namespace bench
