// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "header_last.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "failure.hpp"
#include "number.hpp"
#include "partition.hpp"
#include "resuming.hpp"

namespace flashctl {

namespace {

constexpr std::byte blank{0xff};
constexpr char is_invalid[] = "the header is not on the flash, so the image there is not valid; write it again";

bool is_blank(byte_view data)
{
	return std::ranges::all_of(data, [](std::byte byte) { return byte == blank; });
}

range front_of(const range &written, std::uint32_t header)
{
	return {written.device, written.offset, header};
}

range behind(const range &written, std::uint32_t header)
{
	return {written.device, written.offset + header, written.length - header};
}

byte_view before(const range &part, const picture &taken)
{
	return byte_view(taken.before).subspan(part.offset - taken.area.offset, part.length);
}

failure shares_block(const range &written, std::uint32_t header)
{
	const std::uint32_t block = written.device.erase_size;
	const std::uint64_t edge = std::uint64_t{written.offset} + header;
	const std::uint64_t smallest = (edge + block - 1) / block * block - written.offset;
	return {exit_status::usage,
		fmt::format(
			"the header ends at {}, in the middle of an erase block of {} ({} bytes), which would hold bytes of the rest too",
			hex_number(edge), human_size(block), block),
		smallest < written.length
			? fmt::format("--last {} is the smallest that works; the image has to be laid out for it", smallest)
			: "no --last works: all of the image behind the header is in that erase block"};
}

// To the end of its last erase block, as far as the module writes it: what else is in there is rewritten with the range where it is not
// stable.
range with_whole_last_block(workplace &place, const range &part)
{
	const std::uint64_t block = part.device.erase_size, end = std::uint64_t{part.offset} + part.length;
	const std::uint64_t edge =
		std::min<std::uint64_t>((end + block - 1) / block * block, part.device.usable.value_or(readable_size(place, part.device)));
	return {part.device, part.offset, static_cast<std::uint32_t>(std::max(edge, end) - part.offset)};
}

// What two reads of a range agree on; where they do not, a cut has left it unstable. The first bytes are expected.
std::optional<bytes> read_twice(workplace &place, const range &part, byte_view expected)
{
	bytes wanted(expected.begin(), expected.end());
	wanted.resize(part.length);
	const bytes first = read_range(place, part, wanted);
	bytes second = read_range(place, part, first);
	return first == second ? std::optional(std::move(second)) : std::nullopt;
}

bool holds(workplace &place, const range &part, byte_view data)
{
	const auto found = read_twice(place, part, data);
	return found && std::ranges::equal(data, byte_view(*found).first(data.size()));
}

void expect_holds(workplace &place, const range &part, byte_view wanted)
{
	const char *const hint = "look for errors of the flash in the kernel log, then write again";
	const auto found = read_twice(place, part, wanted);
	if (!found)
		throw failure{exit_status::mismatch, fmt::format("\"{}\" gives other bytes each time it is read", part.device.name), hint};
	const auto differs = compare(wanted, *found, 0, wanted.size());
	if (differs)
		throw failure{exit_status::mismatch,
			      fmt::format("{} byte{} of \"{}\" {} not what was written, the first at {}", differs->count,
					  differs->count == 1 ? "" : "s", part.device.name, differs->count == 1 ? "is" : "are",
					  hex_number(part.offset + differs->first)),
			      hint};
}

template <typename work_type> void telling(const char *state, const work_type &work)
{
	try {
		work();
	} catch (failure &wrong) {
		wrong.message += fmt::format("; {}", state);
		throw;
	}
}

void make_invalid(workplace &place, const range &front, const picture &taken)
{
	const bytes nothing(front.length, blank);
	if (is_blank(before(front, taken)))
		place.work.total -= front.length;
	else
		write_data(place, front, nothing, &taken);
	const bytes found = read_range(place, front, nothing);
	if (!is_blank(found))
		throw failure{exit_status::mismatch, fmt::format("the old header of \"{}\" cannot be made invalid", front.device.name),
			      "look for errors of the flash in the kernel log, then write again"};
}

// The header stays invalid meanwhile.
void write_rest(workplace &place, const range &written, byte_view data, std::uint32_t header, const picture &taken, bool resume)
{
	write_part(place, behind(written, header), data.subspan(header), &taken, resume);
	bytes wanted(header, blank);
	wanted.insert(wanted.end(), data.begin() + header, data.end());
	expect_holds(place, with_whole_last_block(place, written), wanted);
}

} // namespace

void check_header(workplace &place, const range &written, byte_view data, std::uint32_t header)
{
	if (header >= written.length)
		throw failure{exit_status::usage, fmt::format("--last {} leaves nothing of an image of {} bytes", header, written.length),
			      "it counts the bytes of the header only"};
	if (!written.device.erase_size)
		throw failure{exit_status::unsupported, fmt::format("\"{}\" has no erase blocks", written.device.name),
			      "--last needs a header and a rest that are erased apart"};
	if (!place.flash.keeps_equal_blocks())
		throw failure{exit_status::unsupported,
			      fmt::format("whether a write of the rest leaves the header of \"{}\" alone is not known: the module has the "
					  "platform's flash service update all usable bytes at once",
					  written.device.name),
			      std::string("a platform whose service rewrites changed erase blocks only says so in ") + service_file};
	if ((std::uint64_t{written.offset} + header) % written.device.erase_size)
		throw shares_block(written, header);
	if (is_blank(data.first(header)))
		throw failure{exit_status::usage, fmt::format("the first {} bytes of the image are all 0xff, as erased flash is", header),
			      "that is no header"};
}

void expect_header_last(workplace &place, const range &written, std::uint32_t header)
{
	const std::uint64_t compared = with_whole_last_block(place, written).length;
	place.work.total += std::uint64_t{header} + header + compared + compared;
}

void write_header_last(workplace &place, const range &written, byte_view data, std::uint32_t header, const picture &taken, bool resume)
{
	const range front = front_of(written, header), rest = behind(written, header);
	const byte_view rest_data = data.subspan(header);
	const bool seems_whole = std::ranges::equal(rest_data, before(rest, taken));
	const range compared = with_whole_last_block(place, rest);
	if (seems_whole)
		place.work.total += std::uint64_t{compared.length} + compared.length;

	if (seems_whole && holds(place, compared, rest_data)) {
		place.work.total -= std::uint64_t{header} * 4 + rest.length + compared.length + compared.length;
	} else {
		telling("the rest of the image was not touched", [&] { make_invalid(place, front, taken); });
		telling(is_invalid, [&] { write_rest(place, written, data, header, taken, resume && !seems_whole); });
	}
	telling("the rest of the image is on the flash", [&] { write_data(place, front, data.first(header), &taken); });
}

} // namespace flashctl
