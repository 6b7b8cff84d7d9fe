// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "bytes.hpp"

#include <fmt/format.h>
#include <nettle/sha2.h>

#include <algorithm>
#include <array>

namespace flashctl {

namespace {

constexpr std::size_t line_size = 16;

// Adds what lies behind to what lies before.
std::optional<difference> join(const std::optional<difference> &before, const std::optional<difference> &behind)
{
	if (!before || !behind)
		return before ? before : behind;
	difference both = *before;
	both.count += behind->count;
	return both;
}

std::string dump_line(byte_view line, std::uint64_t address)
{
	std::string hex, text;
	for (std::size_t i = 0; i < line_size; ++i) {
		hex += i == line_size / 2 ? "  " : " ";
		hex += i < line.size() ? fmt::format("{:02x}", std::to_integer<unsigned>(line[i])) : "  ";
	}
	for (const std::byte byte : line) {
		const auto letter = std::to_integer<unsigned char>(byte);
		text += letter >= 0x20 && letter < 0x7f ? static_cast<char>(letter) : '.';
	}
	return fmt::format("{:08x} {}  |{}|\n", address, hex, text);
}

} // namespace

std::string sha256(byte_view data)
{
	sha256_ctx context;
	sha256_init(&context);
	sha256_update(&context, data.size(), reinterpret_cast<const std::uint8_t *>(data.data()));
	std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest;
	sha256_digest(&context, digest.size(), digest.data());
	return fmt::format("{:02x}", fmt::join(digest, ""));
}

std::optional<difference> compare(byte_view expected, byte_view found, std::size_t begin, std::size_t end)
{
	std::optional<difference> differs;
	for (std::size_t i = begin; i < end; ++i) {
		if (expected[i] == found[i])
			continue;
		if (!differs)
			differs = {i, 0, std::to_integer<std::uint8_t>(expected[i]), std::to_integer<std::uint8_t>(found[i])};
		++differs->count;
	}
	return differs;
}

std::optional<difference> compare_around(byte_view expected, byte_view found, std::size_t begin, std::size_t end)
{
	return join(compare(expected, found, 0, begin), compare(expected, found, end, expected.size()));
}

std::string hex_dump(byte_view data, std::uint64_t address)
{
	std::string dump;
	byte_view last;
	bool repeated = false;
	for (std::size_t at = 0; at < data.size(); at += line_size) {
		const byte_view line = data.subspan(at, std::min(line_size, data.size() - at));
		if (std::ranges::equal(line, last)) {
			dump += repeated ? "" : "*\n";
			repeated = true;
			continue;
		}
		dump += dump_line(line, address + at);
		last = line;
		repeated = false;
	}
	return dump + fmt::format("{:08x}\n", address + data.size());
}

} // namespace flashctl
