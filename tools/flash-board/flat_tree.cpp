// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "flat_tree.hpp"

#include <libfdt.h>

#include <cstdio>
#include <stdexcept>

namespace flash_board {
namespace {

// Writes nodes one after the other; a node lives as long as its scope.
class tree_writer {
public:
	tree_writer() : bytes_(first_size)
	{
		check(fdt_create(bytes_.data(), static_cast<int>(bytes_.size())));
		check(fdt_finish_reservemap(bytes_.data()));
	}

	template <typename content> void node(const std::string &name, content write_content)
	{
		with_room([&] { return fdt_begin_node(bytes_.data(), name.c_str()); });
		write_content();
		with_room([&] { return fdt_end_node(bytes_.data()); });
	}

	void text(const std::string &name, const std::string &value)
	{
		with_room([&] { return fdt_property_string(bytes_.data(), name.c_str(), value.c_str()); });
	}

	void number(const std::string &name, std::optional<std::uint32_t> value)
	{
		if (value)
			with_room([&] { return fdt_property_u32(bytes_.data(), name.c_str(), *value); });
	}

	std::vector<std::uint8_t> finish()
	{
		with_room([&] { return fdt_finish(bytes_.data()); });
		bytes_.resize(fdt_totalsize(bytes_.data()));
		return std::move(bytes_);
	}

private:
	static void check(int result)
	{
		if (result)
			throw std::runtime_error(std::string("libfdt: ") + fdt_strerror(result));
	}

	template <typename step> void with_room(step write)
	{
		int result = write();

		while (result == -FDT_ERR_NOSPACE) {
			std::vector<std::uint8_t> larger(bytes_.size() * 2);
			check(fdt_resize(bytes_.data(), larger.data(), static_cast<int>(larger.size())));
			bytes_ = std::move(larger);
			result = write();
		}
		check(result);
	}

	static constexpr std::size_t first_size = 0x10000;
	std::vector<std::uint8_t> bytes_;
};

std::string numbered(const std::string &name, std::uint32_t number)
{
	char digits[9];

	std::snprintf(digits, sizeof(digits), "%x", static_cast<unsigned>(number));
	return name + "@" + digits;
}

void write_entry(tree_writer &to, const entry &from, std::uint32_t index)
{
	to.node(numbered(from.name, index), [&] {
		to.text("name", from.name);
		for (const auto &[name, text] : from.attributes)
			to.text(name, text);
		for (const auto &element : from.elements)
			to.node(element.first, [&] { to.text("text", element.second); });
	});
}

void write_section(tree_writer &to, const section &from)
{
	to.node(from.name, [&] {
		for (const auto &one : from.nodes)
			to.node(one.name, [&] {
				for (std::uint32_t i = 0; i < one.entries.size(); i++)
					write_entry(to, one.entries[i], i);
			});
	});
}

void write_instance(tree_writer &to, const instance &from)
{
	to.node(numbered("instance", from.id), [&] {
		to.number("reg", from.id);
		to.number("parent", from.parent);
		to.number("card", from.card);
		to.number("bom", from.bom);
		for (const auto &lock : from.hard_locks)
			to.node(numbered("hard_lock", lock.type), [&] {
				to.number("reg", lock.type);
				to.number("lock_val", lock.lock_val);
				to.number("unlock_val", lock.unlock_val);
			});
		for (const auto &one : from.sections)
			write_section(to, one);
	});
}

} // namespace

std::vector<std::uint8_t> flatten(const board &from)
{
	tree_writer to;

	to.node("", [&] {
		to.text("board", from.name);
		to.number("bom", from.bom);
		for (const auto &one : from.instances)
			write_instance(to, one);
	});
	return to.finish();
}

} // namespace flash_board
