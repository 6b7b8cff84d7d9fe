// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Linux's MTD core: devices by number and by name, and who holds them.
#include "mtd.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "kernel/mtd.h"
#include "simulation.hpp"

using simulation::misuse;

void mtd_info::check_range(const char *what, std::uint64_t offset, std::size_t length) const
{
	if (offset > size() || length > size() - offset)
		misuse("mtd%d: %s of %zu bytes at %#llx leaves the device (%#llx bytes)", index_, what, length,
		       static_cast<unsigned long long>(offset), static_cast<unsigned long long>(size()));
}

void mtd_info::read(std::uint64_t offset, void *to, std::size_t length) const
{
	auto *out = static_cast<std::uint8_t *>(to);

	check_range("read", offset, length);
	while (length > 0) {
		const auto inside = offset % page_size;
		const auto part = std::min<std::size_t>(length, page_size - inside);
		const auto found = pages_.find(offset / page_size);

		if (found == pages_.end())
			std::memset(out, 0xff, part);
		else
			std::memcpy(out, found->second->data() + inside, part);
		offset += part;
		out += part;
		length -= part;
	}
}

void mtd_info::poke(std::uint64_t offset, const void *from, std::size_t length)
{
	auto *in = static_cast<const std::uint8_t *>(from);

	check_range("write", offset, length);
	while (length > 0) {
		const auto inside = offset % page_size;
		const auto part = std::min<std::size_t>(length, page_size - inside);
		auto &place = pages_[offset / page_size];

		if (!place) {
			place = std::make_unique<page>();
			place->fill(0xff);
		}
		std::memcpy(place->data() + inside, in, part);
		offset += part;
		in += part;
		length -= part;
	}
}

void mtd_info::fail(harness::flash_operation operation, std::uint64_t nth)
{
	(operation == harness::flash_operation::erase ? erases_to_failure_ : writes_to_failure_) = nth;
}

bool mtd_info::comes_to_its_end(std::uint64_t &countdown)
{
	return countdown > 0 && --countdown == 0;
}

bool mtd_info::erase(std::uint64_t offset)
{
	if (offset % spec_.erase_size != 0)
		misuse("mtd%d: erase at %#llx, which is no start of an erase block", index_, static_cast<unsigned long long>(offset));
	if (comes_to_its_end(erases_to_failure_))
		return false;
	const std::vector<std::uint8_t> erased(spec_.erase_size, 0xff);
	poke(offset, erased.data(), erased.size());
	++activity_.erases;
	return true;
}

bool mtd_info::program(std::uint64_t offset, const void *from, std::size_t length)
{
	if (spec_.type != harness::mtd_ram) {
		std::vector<std::uint8_t> present(length);

		read(offset, present.data(), length);
		if (std::any_of(present.begin(), present.end(), [](std::uint8_t byte) { return byte != 0xff; }))
			misuse("mtd%d: write of %zu bytes at %#llx to flash that is not erased", index_, length,
			       static_cast<unsigned long long>(offset));
	}
	if (comes_to_its_end(writes_to_failure_))
		return false;
	poke(offset, from, length);
	++activity_.writes;
	return true;
}

namespace simulation {

namespace {

std::map<int, std::unique_ptr<mtd_info>> g_devices;

mtd_info &known_device_locked(int index)
{
	auto *device = mtd_device_locked(index);

	if (!device)
		misuse("there is no MTD device %d", index);
	return *device;
}

const mtd_info &referenced_locked(const char *function, const mtd_info *mtd)
{
	const auto found = std::find_if(g_devices.begin(), g_devices.end(), [&](const auto &entry) { return entry.second.get() == mtd; });

	if (found == g_devices.end())
		misuse("%s(%p): no MTD device", function, static_cast<const void *>(mtd));
	if (mtd->module_references == 0)
		misuse("%s(%p): the module holds no reference on mtd%d", function, static_cast<const void *>(mtd), mtd->index());
	return *mtd;
}

mtd_info *referenced_or_absent_locked(mtd_info *device)
{
	if (!device)
		return as_pointer<mtd_info>(-ENODEV);
	++device->module_references;
	return device;
}

mtd_info *device_named_locked(const char *name)
{
	for (auto &[index, device] : g_devices) {
		if (device->spec().nameless)
			misuse("get_mtd_device_nm(\"%s\") comes to mtd%d, which has no name: Linux follows the null pointer", name, index);
		if (device->spec().name == name)
			return device.get();
	}
	return nullptr;
}

int lowest_free_number_locked()
{
	int index = 0;

	while (g_devices.contains(index))
		++index;
	return index;
}

} // namespace

mtd_info *mtd_device_locked(int index)
{
	const auto found = g_devices.find(index);
	return found == g_devices.end() ? nullptr : found->second.get();
}

int add_mtd(const harness::mtd_spec &spec)
{
	state_guard guard;
	const int index = spec.index.value_or(lowest_free_number_locked());

	if (g_devices.contains(index))
		misuse("MTD number %d is in use", index);
	if (spec.erase_size == 0 || spec.size % spec.erase_size != 0)
		misuse("MTD device \"%s\": the size is no multiple of the erase size", spec.name.c_str());
	g_devices.emplace(index, std::make_unique<mtd_info>(index, spec)).first->second->has_block_device =
		!block_number_is_taken_locked(index);
	return index;
}

void remove_mtd(int index)
{
	state_guard guard;
	const auto &device = known_device_locked(index);

	if (device.module_references != 0)
		misuse("mtd%d is removed while it is in use", index);
	take_block_device_away_locked(index);
	g_devices.erase(index);
}

harness::bytes mtd_content(int index, std::uint64_t offset, std::size_t length)
{
	state_guard guard;
	harness::bytes content(length);

	known_device_locked(index).read(offset, content.data(), length);
	return content;
}

void set_mtd_content(int index, std::uint64_t offset, const std::uint8_t *content, std::size_t length)
{
	state_guard guard;
	known_device_locked(index).poke(offset, content, length);
}

int mtd_use_count(int index)
{
	state_guard guard;
	const auto &device = known_device_locked(index);
	return device.module_references + block_device_openers_locked(index);
}

void fail_flash(int index, harness::flash_operation operation, std::uint64_t nth)
{
	state_guard guard;
	known_device_locked(index).fail(operation, nth);
}

harness::mtd_activity mtd_count(int index)
{
	state_guard guard;
	return known_device_locked(index).activity();
}

long mtd_references()
{
	state_guard guard;
	long count = 0;

	for (const auto &[index, device] : g_devices)
		count += device->module_references;
	return count;
}

void reset_mtd()
{
	state_guard guard;
	g_devices.clear();
}

} // namespace simulation

using namespace simulation;

struct mtd_info *get_mtd_device_nm(const char *name)
{
	if (auto forced = seen(call::get_mtd_device_nm, {name}))
		return as_pointer<mtd_info>(*forced);
	state_guard guard;
	return referenced_or_absent_locked(device_named_locked(name));
}

struct mtd_info *get_mtd_device(struct mtd_info *mtd, int num)
{
	if (auto forced = seen(call::get_mtd_device, {mtd, num}))
		return as_pointer<mtd_info>(*forced);
	state_guard guard;
	if (mtd)
		misuse("get_mtd_device(): only the look-up by number is simulated");
	return referenced_or_absent_locked(mtd_device_locked(num));
}

void put_mtd_device(struct mtd_info *mtd)
{
	if (seen(call::put_mtd_device, {mtd}))
		return;
	state_guard guard;
	referenced_locked("put_mtd_device", mtd);
	--mtd->module_references;
}

u64 linux_mtd_size(const struct mtd_info *mtd)
{
	state_guard guard;
	return referenced_locked("linux_mtd_size", mtd).size();
}

u32 linux_mtd_index(const struct mtd_info *mtd)
{
	state_guard guard;
	return static_cast<u32>(referenced_locked("linux_mtd_index", mtd).index());
}

u32 linux_mtd_type(const struct mtd_info *mtd)
{
	state_guard guard;
	return referenced_locked("linux_mtd_type", mtd).spec().type;
}

const char *linux_mtd_describe(const struct mtd_info *mtd, struct flash_mtd_stat_entry *entry)
{
	state_guard guard;
	const mtd_info &device = referenced_locked("linux_mtd_describe", mtd);
	const auto &spec = device.spec();

	entry->size = device.size();
	entry->index = static_cast<u32>(device.index());
	entry->type = spec.type;
	entry->erasesize = spec.erase_size;
	entry->flags = spec.partition_flags.value_or(0);
	return spec.nameless ? nullptr : spec.name.c_str();
}
