// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "strict_flash.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace powercut {

namespace {

constexpr std::uint8_t blank = 0xff;

strict_flash *g_flash;

strict_flash &flash()
{
	if (!g_flash)
		throw misuse("there is no flash");
	return *g_flash;
}

} // namespace

strict_flash::strict_flash(const geometry &shape)
	: shape_(shape), mtd_{0, shape.block_size(), shape.page_size, shape.size()}, state_{bytes(shape.size(), blank),
											    std::vector<bool>(shape.pages * shape.blocks),
											    std::vector<tearing>(shape.pages * shape.blocks,
														 tearing::none)}
{
	g_flash = this;
}

strict_flash::~strict_flash()
{
	power_on();
	g_flash = nullptr;
}

void strict_flash::fill(std::uint64_t offset, std::span<const std::uint8_t> content)
{
	std::copy(content.begin(), content.end(), state_.content.begin() + static_cast<std::ptrdiff_t>(offset));
	for (std::size_t page = offset / shape_.page_size; page < (offset + content.size()) / shape_.page_size; ++page)
		state_.programmed[page] = true;
}

void strict_flash::power_on(std::optional<cut_point> next_cut)
{
	cut_ = next_cut;
	operations_.clear();
	memory_.clear();
	for (auto *semaphore : locked_)
		semaphore->readers = 0;
	locked_.clear();
	references_ = 0;
}

bool strict_flash::at_rest() const
{
	return memory_.empty() && locked_.empty() && references_ == 0;
}

mtd_info *strict_flash::device(int index)
{
	if (index != 0)
		return reinterpret_cast<mtd_info *>(-ENODEV);
	++references_;
	return &mtd_;
}

void strict_flash::release(const mtd_info *mtd)
{
	if (mtd != &mtd_ || references_ == 0)
		throw misuse("a reference is given back that was not taken");
	--references_;
}

unsigned int strict_flash::block_at(std::uint64_t address, std::uint64_t length, const char *what) const
{
	if (references_ == 0)
		throw misuse(std::string(what) + " without a reference");
	if (address % shape_.block_size() != 0 || length != shape_.block_size() || address + length > shape_.size())
		throw misuse(std::string(what) + " that is not one whole erase block");
	const auto block = static_cast<unsigned int>(address / shape_.block_size());
	if (is_bad(block))
		throw misuse(std::string(what) + " of a bad block");
	return block;
}

bool strict_flash::begin_operation(action what, unsigned int block)
{
	operations_.push_back({what, block});
	return cut_ && cut_->operation == operations_.size() - 1;
}

void strict_flash::tear(unsigned int block, tearing how)
{
	if (how != tearing::none) {
		const std::size_t page = block * shape_.pages + cut_->pages_done;
		auto *content = state_.content.data() + page * shape_.page_size;
		std::generate_n(content, shape_.page_size, [this] { return noise(); });
		state_.programmed[page] = true;
		state_.torn[page] = how;
	}
	throw power_cut{operations_.back()};
}

void strict_flash::erase_page(std::size_t page)
{
	std::fill_n(state_.content.begin() + static_cast<std::ptrdiff_t>(page * shape_.page_size), shape_.page_size, blank);
	state_.programmed[page] = false;
	state_.torn[page] = tearing::none;
}

void strict_flash::program_page(std::size_t page, std::span<const std::uint8_t> content)
{
	if (state_.programmed[page])
		throw misuse("a page is programmed twice");
	std::copy(content.begin(), content.end(), state_.content.begin() + static_cast<std::ptrdiff_t>(page * shape_.page_size));
	state_.programmed[page] = true;
}

bool strict_flash::block_is_bad(std::uint64_t address) const
{
	if (address % shape_.block_size() != 0 || address >= shape_.size())
		throw misuse("a bad block is looked for where no block begins");
	return is_bad(static_cast<unsigned int>(address / shape_.block_size()));
}

void strict_flash::erase(std::uint64_t address, std::uint64_t length)
{
	const auto block = block_at(address, length, "erase");
	const bool goes = begin_operation(action::erase, block);
	const unsigned int done = goes ? cut_->pages_done : shape_.pages;

	for (unsigned int page = 0; page < done; ++page)
		erase_page(block * shape_.pages + page);
	if (goes)
		tear(block, cut_->next_page);
}

int strict_flash::read(std::uint64_t from, std::span<std::uint8_t> to)
{
	if (references_ == 0)
		throw misuse("read without a reference");
	if (from > shape_.size() || to.size() > shape_.size() - from)
		throw misuse("read beyond the flash");
	bool failed = false;
	for (std::size_t i = 0; i < to.size(); ++i) {
		const auto torn = state_.torn[(from + i) / shape_.page_size];
		to[i] = torn == tearing::none ? state_.content[from + i] : noise();
		failed |= torn == tearing::uncorrectable;
	}
	return failed ? -EBADMSG : 0;
}

void strict_flash::program(std::uint64_t to, std::span<const std::uint8_t> content)
{
	const auto block = block_at(to, content.size(), "program");
	const bool goes = begin_operation(action::program, block);
	const unsigned int done = goes ? cut_->pages_done : shape_.pages;

	for (unsigned int page = 0; page < done; ++page)
		program_page(block * shape_.pages + page, content.subspan(page * shape_.page_size, shape_.page_size));
	if (goes)
		tear(block, cut_->next_page);
}

void strict_flash::lock(rw_semaphore &semaphore, bool alone)
{
	if (semaphore.readers < 0 || (alone && semaphore.readers > 0))
		throw misuse("a lock is taken that is held");
	semaphore.readers = alone ? -1 : semaphore.readers + 1;
	locked_.insert(&semaphore);
}

void strict_flash::unlock(rw_semaphore &semaphore, bool alone)
{
	if (alone ? semaphore.readers != -1 : semaphore.readers <= 0)
		throw misuse("a lock is released that is not held so");
	semaphore.readers = alone ? 0 : semaphore.readers - 1;
	if (semaphore.readers == 0)
		locked_.erase(&semaphore);
}

void *strict_flash::allocate(std::size_t size)
{
	return memory_.emplace_back(size).data();
}

void strict_flash::give_back(const void *memory)
{
	const auto found = std::find_if(memory_.begin(), memory_.end(), [&](const auto &one) { return one.data() == memory; });
	if (found == memory_.end())
		throw misuse("memory is freed that was not allocated");
	memory_.erase(found);
}

} // namespace powercut

using powercut::flash;

extern "C" {

mtd_info *get_mtd_device(mtd_info *, int index)
{
	return flash().device(index);
}

void put_mtd_device(mtd_info *mtd)
{
	flash().release(mtd);
}

int mtd_block_isbad(mtd_info *, long long address)
{
	const int error = flash().told().bad_block_check;
	return error ? error : flash().block_is_bad(static_cast<std::uint64_t>(address));
}

int mtd_erase(mtd_info *, erase_info *erase)
{
	const int error = flash().told().erase;
	if (!error)
		flash().erase(erase->addr, erase->len);
	return error;
}

int mtd_read(mtd_info *, long long from, unsigned long length, unsigned long *done, unsigned char *to)
{
	const auto &told = flash().told();
	const int result = flash().read(static_cast<std::uint64_t>(from), {to, length});
	*done = length - told.not_read;
	return told.read ? told.read : result;
}

int mtd_write(mtd_info *, long long to, unsigned long length, unsigned long *done, const unsigned char *from)
{
	const auto &told = flash().told();
	if (!told.write)
		flash().program(static_cast<std::uint64_t>(to), {from, length});
	*done = told.write ? 0 : length - told.not_written;
	return told.write;
}

void down_read(rw_semaphore *semaphore)
{
	flash().lock(*semaphore, false);
}

void up_read(rw_semaphore *semaphore)
{
	flash().unlock(*semaphore, false);
}

void down_write(rw_semaphore *semaphore)
{
	flash().lock(*semaphore, true);
}

void up_write(rw_semaphore *semaphore)
{
	flash().unlock(*semaphore, true);
}

void *vmalloc(unsigned long size)
{
	return flash().told().no_memory ? nullptr : flash().allocate(size);
}

void vfree(const void *memory)
{
	flash().give_back(memory);
}
}
