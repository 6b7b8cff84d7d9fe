// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One simulated block device /dev/mtdblock<N>, lazy as in Linux: what is written stays in the page cache until a flush or the last close.
// Below that, mtdblock collects an erase block before it erases and programs it. So errors of the flash appear at the flush; those of a
// last close nobody sees. Its functions expect the lock of the simulation to be held.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

struct mtd_info;

class block_device {
public:
	explicit block_device(mtd_info &mtd) : mtd_(&mtd) {}

	// The device that it was made of; nullptr when that has gone.
	const mtd_info *mtd() const { return mtd_; }
	std::uint64_t size() const;

	// The range must lie within the size.
	void read(std::uint64_t position, void *to, std::size_t length);
	void write(std::uint64_t position, const void *from, std::size_t length);
	// Writes back the pages of a range, then what mtdblock has collected; 0 or -EIO.
	int flush(std::uint64_t position, std::uint64_t length);
	// Writes everything back, whether that succeeds or not, and forgets it.
	void drop();
	// The MTD device goes, `written_back` or with all that the flash has not seen.
	void lose_device(bool written_back);

	int openers = 0; // files that are not released yet

private:
	static constexpr std::size_t page_size = 4096, sector_size = 512;
	struct page {
		std::array<std::uint8_t, page_size> bytes;
		bool dirty = false;
	};

	page &page_at(std::uint64_t number);
	std::size_t used_bytes_of(std::uint64_t number) const;
	bool write_back(std::uint64_t first, std::uint64_t last);
	bool write_back_page(std::uint64_t number, page &page);

	// mtdblock
	bool take(std::uint64_t position, const std::uint8_t *from, std::size_t length);
	bool collect_block_at(std::uint64_t start);
	bool erase_and_program(std::uint64_t start, const std::uint8_t *content);
	bool write_collected();

	mtd_info *mtd_;
	std::map<std::uint64_t, page> pages_;
	std::vector<std::uint8_t> collected_; // an erase block whose content is not on the flash yet; empty for none
	std::uint64_t collected_at_ = 0;
};
