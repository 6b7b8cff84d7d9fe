// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What grows with the board: records that are looked up, rows and entries that are searched, tables that are read at the load.
#include <cstdlib>

#include "programs.hpp"
#include "record.hpp"
#include "requests.hpp"

namespace bench {

namespace {

constexpr std::uint32_t transfer_size = 512;

std::uint32_t table_size(const char *name)
{
	const char *const text = std::getenv(name);
	return text ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : 0;
}

std::uint32_t found_in_rows(recorder &figures, unsigned long command, flash_find_config_arg &question)
{
	return static_cast<std::uint32_t>(figures.kernel().command(command, &question));
}

void lookups_of(recorder &figures, std::uint32_t records)
{
	const auto count = static_cast<unsigned long>(records);
	if (figures.kernel().command(BENCH_RECORDS, count) || figures.kernel().command(BENCH_ROWS, count))
		fail("the records cannot be made");
	const device flash(FLASH_MNG_DEVICE);
	const std::string name = "part" + std::to_string(records);
	flash_find_config_arg question = {};
	question.inst_id = records;
	question.name_length = static_cast<std::uint32_t>(name.size());
	question.name = reinterpret_cast<std::uintptr_t>(name.data());

	const row by_instance = {"lookup", "by instance, the last record", records, "records"};
	figures.count(by_instance, module_way, 8, [&] { return code_of(flash, FLASH_MNG_FIND_CONFIG_BY_INST, &question); });
	figures.count(by_instance, "a list walked on the spot", 8, [&] { return found_in_rows(figures, BENCH_FIND, question); });
	const row by_name = {"lookup", "by partition name, the last record", records, "records"};
	figures.count(by_name, module_way, 8, [&] { return code_of(flash, FLASH_MNG_FIND_CONFIG, &question); });
	figures.count(by_name, "a list walked on the spot", 8, [&] { return found_in_rows(figures, BENCH_FIND_NAME, question); });
}

void make_rows(recorder &figures, std::uint32_t rows)
{
	if (figures.kernel().command(BENCH_ROWS, static_cast<unsigned long>(rows)))
		fail("the rows cannot be made");
}

} // namespace

void lookups(recorder &figures)
{
	lookups_of(figures, 1);
	lookups_of(figures, 100);
	if (!figures.is_traced()) // making each record looks for it first: too long to trace
		lookups_of(figures, 1000);
	if (figures.kernel().command(BENCH_RECORDS, 0ul))
		fail("the records cannot be removed");
}

// The environment says how long the tables are: the last row and the last entry are used.
void tables(recorder &figures)
{
	bytes buffer(transfer_size);
	const std::uint32_t rows = table_size("BENCH_ROWS");
	const row section = {"section search", "read of 512 bytes, the last row", rows, "rows"};
	bench_request call = kernel_call(BENCH_SECTION_READ, 8, "", "", 0, buffer, transfer_size);
	call.section_id = rows;
	figures.count(section, module_way, call);
	make_rows(figures, rows);
	bench_request searched = kernel_call(BENCH_BLOCK_READ, 8, "", device_path("mtdblock", "ram0"), 0, buffer, transfer_size);
	searched.search = BENCH_SEARCH_RANGE;
	figures.count(section, "an array walked, then open, seek, read, close", searched);

	const std::uint32_t entries = table_size("BENCH_ENTRIES");
	const row listed = {"table of listed partitions", "read of 512 bytes, the last entry", entries, "entries"};
	flash_mtd_io_arg request = io_request("boot", 0, transfer_size, buffer.data());
	figures.count(listed, module_way, 8, [&] { return whole_command(FLASH_MNG_MTD_READ, &request); });
	make_rows(figures, entries);
	bench_request service = kernel_call(BENCH_LISTED_READ, 8, "boot", device_path("mtd", "boot"), 0, buffer, transfer_size);
	service.search = BENCH_SEARCH_NAME;
	figures.count(listed, "an array walked, then service call and one copy", service);
}

void loading(recorder &figures)
{
	const std::uint32_t rows = table_size("BENCH_ROWS");
	const auto cycle = [](const char *module) {
		const std::uint32_t status = load_module(module);
		return status ? status : unload_module(module);
	};
	const row of = {"load and unload", "section table", rows, "rows"};
	figures.count(of, module_way, 4, [&] { return cycle("flash_mng"); });
	figures.count(of, "an empty module", 4, [&] { return cycle("flash_bench_empty"); });
}

} // namespace bench
