// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "block_device.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "mtd.hpp"

// A block device holds whole sectors.
std::uint64_t block_device::size() const
{
	return mtd_ ? mtd_->size() / sector_size * sector_size : 0;
}

std::size_t block_device::used_bytes_of(std::uint64_t number) const
{
	return static_cast<std::size_t>(std::min<std::uint64_t>(page_size, size() - number * page_size));
}

block_device::page &block_device::page_at(std::uint64_t number)
{
	const auto [place, is_new] = pages_.try_emplace(number);

	if (is_new)
		mtd_->read(number * page_size, place->second.bytes.data(), used_bytes_of(number));
	return place->second;
}

void block_device::read(std::uint64_t position, void *to, std::size_t length)
{
	auto *out = static_cast<std::uint8_t *>(to);

	while (length > 0) {
		const auto inside = position % page_size;
		const auto part = std::min<std::size_t>(length, page_size - inside);

		std::memcpy(out, page_at(position / page_size).bytes.data() + inside, part);
		position += part;
		out += part;
		length -= part;
	}
}

void block_device::write(std::uint64_t position, const void *from, std::size_t length)
{
	auto *in = static_cast<const std::uint8_t *>(from);

	while (length > 0) {
		const auto inside = position % page_size;
		const auto part = std::min<std::size_t>(length, page_size - inside);
		page &place = page_at(position / page_size);

		std::memcpy(place.bytes.data() + inside, in, part);
		place.dirty = true;
		position += part;
		in += part;
		length -= part;
	}
}

int block_device::flush(std::uint64_t position, std::uint64_t length)
{
	if (length == 0)
		return 0;
	return write_back(position / page_size, (position + length - 1) / page_size) && write_collected() ? 0 : -EIO;
}

void block_device::drop()
{
	write_back(0, std::numeric_limits<std::uint64_t>::max());
	write_collected();
	pages_.clear();
}

void block_device::lose_device(bool written_back)
{
	if (written_back)
		drop();
	pages_.clear();
	collected_.clear();
	mtd_ = nullptr;
}

// A page that could not be written is as lost as one that could.
bool block_device::write_back(std::uint64_t first, std::uint64_t last)
{
	bool written = true;

	for (auto place = pages_.lower_bound(first); place != pages_.end() && place->first <= last; ++place)
		if (place->second.dirty)
			written &= write_back_page(place->first, place->second);
	return written;
}

bool block_device::write_back_page(std::uint64_t number, page &page)
{
	page.dirty = false;
	for (std::size_t at = 0; at < used_bytes_of(number); at += sector_size)
		if (!take(number * page_size + at, page.bytes.data() + at, sector_size))
			return false;
	return true;
}

// RAM is written in place, flash by whole erase blocks.
bool block_device::take(std::uint64_t position, const std::uint8_t *from, std::size_t length)
{
	const std::uint32_t erase_size = mtd_->spec().erase_size;

	if (mtd_->spec().type == harness::mtd_ram)
		return mtd_->program(position, from, length);
	while (length > 0) {
		const auto start = position - position % erase_size;
		const auto part = std::min<std::size_t>(length, start + erase_size - position);

		if (part == erase_size) {
			if (!erase_and_program(start, from))
				return false;
		} else {
			if (!collect_block_at(start))
				return false;
			std::memcpy(collected_.data() + (position - start), from, part);
		}
		position += part;
		from += part;
		length -= part;
	}
	return true;
}

bool block_device::collect_block_at(std::uint64_t start)
{
	if (!collected_.empty() && collected_at_ == start)
		return true;
	if (!write_collected())
		return false;
	collected_.resize(mtd_->spec().erase_size);
	collected_at_ = start;
	mtd_->read(start, collected_.data(), collected_.size());
	return true;
}

bool block_device::erase_and_program(std::uint64_t start, const std::uint8_t *content)
{
	return mtd_->erase(start) && mtd_->program(start, content, mtd_->spec().erase_size);
}

// What the flash refuses is forgotten, as mtdblock does after an I/O error.
bool block_device::write_collected()
{
	if (collected_.empty())
		return true;
	const bool written = erase_and_program(collected_at_, collected_.data());
	collected_.clear();
	return written;
}
