// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "rules.hpp"

#include <algorithm>
#include <array>

namespace flash_board {
namespace {

using enum severity;
using enum effect;

constexpr bool by_schema = true;
constexpr bool not_by_schema = false;

struct group {
	std::string_view first_rule;
	std::string_view title;
};

// clang-format off
constexpr std::array groups = {
	group{"file-too-long", "The text"},
	group{"root-element", "Elements and attributes"},
	group{"parent-itself", "Instances"},
	group{"no-default-instance", "What flash_mng reads"},
	group{"section-field-missing", "Sections"},
	group{"variant-missing", "Variants of the section table"},
	group{"mtd-info-field-missing", "Partitions that are updated whole"},
	group{"spi-entry-gap", "Settings of SPI flashes"},
	group{"spi-map-field-missing", "Partition maps of SPI flashes"},
};

constexpr std::array rules = {
	rule{"file-too-long", error, refused, not_by_schema, "The file is longer than 1 MiB",
		"The parser on the board takes at most 1 MiB. A board description is a few kilobytes; a file of this size is hardly one.",
		"check that this is the right file"},
	rule{"board-too-large", error, refused, not_by_schema, "The compiled board is longer than 1 MiB",
		"The compiled form may be larger than the XML, because each entry becomes a node of a tree. The parser on the board "
		"takes at most 1 MiB.",
		"leave out entries that no module reads"},
	rule{"control-character", error, refused, by_schema, "A control character in the text",
		"XML has no control characters but tab, line feed and carriage return. One of them usually means a damaged file or one "
		"of another kind.",
		"remove the character"},
	rule{"encoding", error, refused, not_by_schema, "The text is not UTF-8",
		"The board takes texts as bytes and compares names byte by byte. Another encoding would name another partition.",
		"save the file as UTF-8 and declare no other encoding"},
	rule{"unknown-reference", error, refused, by_schema, "A reference that XML does not predefine",
		"There are no entities beside the five of XML itself, so that a description says all that it says in one place.",
		"write the text itself; a lone & is written &amp;"},
	rule{"malformed", error, refused, by_schema, "The text is not well-formed XML",
		"Nothing can be said about what follows the place: tags that do not match, a quotation mark that is missing, a name that "
		"is none.",
		"look at the place and a little before it"},
	rule{"document-type", error, refused, not_by_schema, "A document type",
		"A document type can define entities and default values that a reader of the file does not see, and entities that grow "
		"without end.",
		"remove <!DOCTYPE ...>; editors find the schema by its file, board/schema/flash_mng-board.rng"},
	rule{"stray-text", error, refused, by_schema, "Text where only elements are expected",
		"Text stands in attributes and in the elements of an entry only. Elsewhere it is what is left of a broken tag.",
		"remove the text, or put it into an attribute"},
	rule{"instruction", error, refused, not_by_schema, "A processing instruction",
		"No reader of a board description follows instructions.",
		"remove <?...?>"},

	rule{"root-element", error, refused, by_schema, "The file is not one <board>",
		"A file describes one board: one element <board>, with nothing but comments beside it.",
		"put everything into one <board name=\"...\">"},
	rule{"unknown-element", error, refused, by_schema, "An element that is not known here",
		"<board> holds <instance>, <instance> holds <module> and <hard_lock>, <module> holds <node>, <node> holds <entry>. "
		"Elements of any name stand in an entry only.",
		"see the table of elements in board-xml.md"},
	rule{"unknown-attribute", error, refused, by_schema, "An attribute that is not known here",
		"Only an <entry> has attributes of any name. Elsewhere an unknown one is a misspelling, and what it should have said "
		"would be missing.",
		"see the table of elements in board-xml.md"},
	rule{"duplicate-attribute", error, refused, by_schema, "An attribute given twice",
		"XML forbids it, and readers differ in which of the two they take.",
		"keep one of them"},
	rule{"field-name", error, refused, not_by_schema, "A name that an attribute or element cannot have",
		"Names become names of a tree on the board: a letter or \"_\", then letters, digits, \"_\", \".\" and \"-\", at most 63. "
		"\"phandle\" and \"device_type\" mean something else there.",
		"choose another name"},
	rule{"missing-attribute", error, refused, by_schema, "An attribute is missing",
		"Without it the element cannot be found or has no meaning.",
		"add the attribute"},
	rule{"name-syntax", error, refused, by_schema, "A name that the board cannot keep",
		"Names become names of a tree on the board: a letter or \"_\", then letters, digits, \"_\", \".\" and \"-\", at most 63.",
		"choose a name of these characters"},
	rule{"reserved-name", error, refused, not_by_schema, "A module called hard_lock",
		"On the board it could not be told from the hardware locks of the instance.",
		"choose another name"},
	rule{"number-syntax", error, refused, by_schema, "No number",
		"Numbers are decimal, or hexadecimal after 0x, without sign, blanks or unit, and have at most 32 bits.",
		"write a number such as 4096 or 0x1000"},
	rule{"parent-without-card", error, refused, by_schema, "A parent without a card, or a card without a parent",
		"The two say together where an instance sits: the instance above it, and the number of its place there.",
		"give both or none"},
	rule{"duplicate-id", error, refused, not_by_schema, "A second instance or hardware lock of the same number",
		"Instances are found by their id, hardware locks by their type. The number counts, not how it is written: 16 is 0x10.",
		"give it another number, or put both together"},
	rule{"duplicate-name", error, refused, not_by_schema, "A second module, node or element of the same name",
		"Modules of an instance, nodes of a module and elements of an entry are found by name.",
		"rename it, or put both together"},
	rule{"value-element", error, refused, by_schema, "An element inside a value",
		"The elements of an entry hold text only.",
		"put the inner element beside the outer one"},

	rule{"parent-itself", error, other, not_by_schema, "An instance that is its own parent",
		"parent names the instance above this one. No card carries itself, and settings that are looked for there are its own.",
		"name the carrier, or leave out parent and card"},
	rule{"parent-circular", error, other, not_by_schema, "Parents in a circle",
		"parent names the instance above. Going up from here one comes back, so one of these parents is another one.",
		"correct the parent that is wrong"},
	rule{"parent-not-described", warning, other, not_by_schema, "A parent that is not described",
		"The parent may be left out where it has nothing to say, but a number that is not described is often a misspelling, and "
		"settings of SPI flashes that should be found there are not.",
		"correct parent, or describe the instance, if only by <instance id=\"...\"/>"},
	rule{"card-twice", error, other, not_by_schema, "Two instances on one place of their carrier",
		"A carrier tells its cards apart by the number of their place. Two of one number get the same settings, that is the same "
		"flash, and the second one's partitions cannot be created.",
		"correct card, or leave out one of the instances"},

	rule{"no-default-instance", warning, other, not_by_schema, "No instance 0xffffffff",
		"Sections and partitions are read from the default instance 0xffffffff. Without it flash_mng loads with empty tables.",
		"describe <instance id=\"0xffffffff\">"},
	rule{"node-not-read", warning, other, not_by_schema, "A table in an instance where nobody reads it",
		"flash_mng reads the section tables and mtd_info of the default instance 0xffffffff only.",
		"move the node to the instance 0xffffffff"},
	rule{"unknown-module", warning, other, not_by_schema, "A module whose name is almost flash_mng",
		"Other modules may have sections of their own, but this name looks like a misspelling, and flash_mng would not find its "
		"tables.",
		"write flash_mng"},
	rule{"unknown-node", warning, other, not_by_schema, "A node that flash_mng does not read",
		"In its section flash_mng reads attr and attr_<number>, mtd_info, spi_flash_info and spi_flash_map.",
		"rename the node, or move it to the module that reads it"},
	rule{"unknown-field", warning, other, not_by_schema, "A value that flash_mng does not read",
		"Rows of attr and mtd_info have their values in attributes, entries of spi_flash_info and spi_flash_map in elements; "
		"other names are not looked at.",
		"see what flash_mng reads in board-xml.md"},
	rule{"entry-name-twice", warning, other, not_by_schema, "Two entries of the same name in one table",
		"The table is read all the same, but messages name the entry and would not tell the two apart.",
		"give each entry a name of its own"},
	rule{"empty-table", note, other, not_by_schema, "A table without entries",
		"It counts as no table at all. An empty variant leaves that variant of the board without sections.",
		"add entries, or remove the node if that is not meant"},
	rule{"name-blanks", warning, other, not_by_schema, "A partition's name with white space around it",
		"Names are compared as they are written. The blank belongs to the name, and no partition is likely to be called so.",
		"remove the white space"},
	rule{"partition-name-twice", warning, other, not_by_schema, "Two MTD partitions have this name",
		"Linux finds the one with the lower number; the other cannot be reached by its name.",
		"rename one of the partitions where they are made"},
	rule{"usrdata-missing", note, other, not_by_schema, "The board has no partition called usrdata",
		"flash_mng looks for it when it is loaded. Without it the questions about the NAND flash (is there one, how many "
		"partitions, how large) have no answer.",
		"name the partition of the user's data usrdata if the board has NAND flash"},

	rule{"section-field-missing", error, sections_dropped, by_schema, "A section lacks a value",
		"A section is section_id, mtd_name, offset and size, as attributes. One row that cannot be read drops the whole table: "
		"flash_mng loads, and no section can be used.",
		"add the attribute"},
	rule{"section-number", error, sections_dropped, by_schema, "A section's value is no number",
		"Numbers are decimal, or hexadecimal after 0x, without sign, blanks or unit, and have at most 32 bits. One row that "
		"cannot be read drops the whole table.",
		"write a number such as 4096 or 0x1000"},
	rule{"section-name-long", error, sections_dropped, by_schema, "A section's partition name has more than 39 characters",
		"flash_mng reads the name into 40 bytes, its NUL included, and the reader refuses what does not fit. One row that cannot "
		"be read drops the whole table.",
		"shorten the partition's name to 39 characters"},
	rule{"section-name-empty", error, section_unusable, by_schema, "A section without a partition's name",
		"No partition is found under an empty name.",
		"name the partition"},
	rule{"section-empty", error, section_unusable, not_by_schema, "A section of no bytes",
		"A request has to begin inside its section, and this one has no inside.",
		"give it a size, or remove the row"},
	rule{"section-wraps", error, section_unusable, not_by_schema, "A section reaches 2^32",
		"The end of a section, offset plus size, is kept in 32 bits. An end of 2^32 or more becomes a small number, below the "
		"section's begin, and no request fits. The last address that a section can have is 0xfffffffe.",
		"let the section end at 0xffffffff or below"},
	rule{"section-shadowed", error, section_unusable, not_by_schema, "A section that an earlier row of the same id covers",
		"Rows of one section_id are alternative ranges: the first that contains a request serves it. All requests to this one "
		"are served by the earlier row.",
		"change the section_id or the range, or remove the row"},
	rule{"section-overlap", warning, other, not_by_schema, "Sections of the same id overlap",
		"Rows of one section_id are alternative ranges: the first that contains a request serves it. Where the two overlap, the "
		"same address reaches one or the other, depending on the length.",
		"let the second range begin where the first ends"},
	rule{"section-same-bytes", warning, other, not_by_schema, "Two sections lie on the same bytes of a partition",
		"The first byte of a section is the first byte of its partition, whatever its offset: two sections of one partition lie "
		"over each other.",
		"give each section a partition of its own, or make the two one section"},
	rule{"section-no-partition", error, section_unusable, not_by_schema, "The board has no partition of a section's name",
		"Requests to the section fail, because its MTD device is looked for by name each time.",
		"correct the name, or add the partition"},
	rule{"section-beyond-partition", error, section_unusable, not_by_schema, "A section is longer than its partition",
		"The first byte of a section is the first byte of its partition. What lies behind the partition's end cannot be read or "
		"written.",
		"make the section at most as long as its partition"},

	rule{"variant-missing", error, sections_dropped, not_by_schema, "The board's variant has no section table",
		"As soon as there are two section tables the board's BOM value chooses: 0 takes attr, any other value N takes attr_<N> "
		"and nothing else. A single table is always looked for under the name attr. What is not there leaves the board without "
		"sections.",
		"add the table, or correct bom"},
	rule{"variant-no-fallback", warning, other, not_by_schema, "Variants without the table attr",
		"A board whose BOM value is 0, which is also the value where none is stated, takes attr and finds nothing.",
		"add the node attr, for boards without a variant"},
	rule{"variant-never-chosen", warning, other, not_by_schema, "A section table that no BOM value chooses",
		"The table is looked for as attr_<N>, with N decimal, without leading zeros, from 1 to 4294967295. A name such as attr_0 "
		"or attr_02 counts as a variant but is never asked for.",
		"write the number as the board's BOM value is written in decimal"},

	rule{"mtd-info-field-missing", error, load_fails, by_schema, "A listed partition lacks a value",
		"A row of mtd_info is mtd_name and avail_size, as attributes. One row that cannot be read ends the load of flash_mng.",
		"add the attribute"},
	rule{"mtd-info-number", error, load_fails, by_schema, "A usable size is no number",
		"Numbers are decimal, or hexadecimal after 0x, without sign, blanks or unit, and have at most 32 bits. One row that "
		"cannot be read ends the load of flash_mng.",
		"write a number such as 4096 or 0x1000"},
	rule{"mtd-info-name-refused", error, load_fails, by_schema, "A listed partition's name has more than 39 characters",
		"flash_mng reads the name into 40 bytes, its NUL included, and the reader refuses what does not fit. One row that cannot "
		"be read ends the load of flash_mng.",
		"shorten the partition's name to 31 characters"},
	rule{"mtd-info-name-damaged", error, other, by_schema, "A listed partition's name has more than 31 characters",
		"The name is kept in 32 bytes, its NUL included, and the usable size is written right behind them, over the rest of a "
		"longer name. The partition is found by luck at best: 32 characters survive when the lowest byte of the usable size "
		"happens to be 0.",
		"shorten the partition's name to 31 characters"},
	rule{"mtd-info-name-empty", error, other, by_schema, "A listed partition without a name",
		"No partition is found under an empty name.",
		"name the partition"},
	rule{"mtd-info-name-twice", error, other, not_by_schema, "A partition listed twice",
		"The first row is found; the usable size of the second never counts.",
		"keep one of the rows"},
	rule{"mtd-info-empty", warning, other, not_by_schema, "A usable size of 0",
		"Every write to the partition is refused. Reads still work.",
		"give the usable size, or remove the row"},
	rule{"mtd-info-no-partition", error, other, not_by_schema, "The board has no partition of a listed name",
		"Every request that names it fails.",
		"correct the name, or add the partition"},
	rule{"mtd-info-section", error, other, not_by_schema, "A listed partition that is a section too",
		"Sections and listed partitions are written under locks that know nothing of each other. A write of the listed partition "
		"reads it all, patches it and writes it back: a section write in between is answered with success and then overwritten. "
		"On NAND the two also count differently behind a bad block.",
		"take the partition out of mtd_info, or give the section a partition of its own"},
	rule{"mtd-info-not-nand", error, other, not_by_schema, "A listed partition that is not NAND",
		"Commands of programs move a listed partition through the platform's flash service, whatever its type; functions called "
		"by other modules move one that is not NAND through its block device. Neither waits for the other, and a write that goes "
		"one way can be lost by a write that goes the other. Types are known when --mtd names what flashctl --json list printed.",
		"take the partition out of mtd_info"},
	rule{"mtd-info-beyond-partition", error, other, not_by_schema, "The usable size is larger than the partition",
		"A write reads and rewrites as many bytes as the usable size says, from the partition's begin. Where the partition ends "
		"before, every write fails.",
		"make the usable size at most the partition's size"},
	rule{"mtd-info-erase-size", warning, other, not_by_schema, "The usable size is no multiple of the erase size",
		"Flash is rewritten by whole erase blocks. The last one is used in part: what lies in it behind the usable size is "
		"erased and written back with every change, and lost when power fails in between.",
		"round the usable size to whole erase blocks"},

	rule{"spi-entry-gap", error, search_fails, not_by_schema, "Entries are not numbered entry0, entry1 ... without gaps",
		"As many entries as there are, so many names are asked for, from entry0 on. The first name that is missing ends the "
		"search: cards behind it are not found.",
		"number the entries from entry0 on"},
	rule{"spi-entry-name-twice", error, other, not_by_schema, "Two entries of the same name",
		"These entries are looked up by their name, and the first is found. The second is never read.",
		"give each entry a name of its own"},
	rule{"spi-field-missing", error, search_fails, by_schema, "The settings of an SPI flash lack a value",
		"An entry of spi_flash_info is flash_id, sfc_chip_id, sfc_ctrl and sfc_cs, as elements. Without flash_id the search ends "
		"here, even if a later entry would fit; without another one the flash of this entry cannot be used.",
		"add the element"},
	rule{"spi-number", error, search_fails, by_schema, "A value of an SPI flash is no number",
		"Numbers are decimal, or hexadecimal after 0x, and have at most 32 bits. It counts as missing.",
		"write a number such as 4096 or 0x1000"},
	rule{"spi-flash-id-twice", warning, other, not_by_schema, "Two entries for the same card",
		"The first entry with a card's flash_id is taken; the second is never used.",
		"correct flash_id, or keep one of the entries"},
	rule{"spi-flash-twice", error, other, not_by_schema, "Two entries of one carrier describe the same flash",
		"Chip, controller and chip select are the flash's address. The flash is created once; creating it for the second card is "
		"refused, by the reference platform with 0x7006000b.",
		"correct sfc_chip_id, sfc_ctrl or sfc_cs of one of them"},
	rule{"spi-flash-elsewhere", warning, other, not_by_schema, "Another instance describes the same flash",
		"A flash driver may count chips for the whole board, as that of the reference platform does. Then both are one flash, and "
		"the second create is refused. A driver is also told whose settings these are and may count them apart.",
		"correct the address, unless the flash driver counts per instance"},
	rule{"spi-card-without-entry", error, search_fails, not_by_schema, "A card that its carrier does not describe",
		"An instance without settings of its own is looked for in its parent's spi_flash_info, by the number of its card. No "
		"entry there has that flash_id.",
		"add the entry to the parent, or correct card"},
	rule{"spi-own-entry-missing", error, search_fails, not_by_schema, "Own settings without an entry for the instance itself",
		"An instance that has a node spi_flash_info is served by it alone, by the entry with flash_id 0xffffffff; its parent is "
		"not asked then.",
		"add an entry with flash_id 0xffffffff, or remove the node"},
	rule{"spi-no-settings", error, search_fails, not_by_schema, "A partition map without settings of the flash",
		"Neither the instance nor its parent has a node spi_flash_info, so flash_mng cannot reach the flash. The parent's parent "
		"is not asked.",
		"describe the flash in the instance or in its parent"},
	rule{"spi-lock-number", error, other, by_schema, "A lock setting is no number",
		"The lock settings may be left out, so one that cannot be read counts as left out, without a message: type 1, which "
		"never locks, and the value 0xffffffff.",
		"write a number such as 0 or 0x5a"},
	rule{"spi-lock-without-type", error, other, by_schema, "Lock values without a lock type",
		"Without hardlock_type the type is 1, which never locks, and the values are not used, without a message.",
		"add hardlock_type, or remove the values"},
	rule{"spi-lock-not-described", note, other, not_by_schema, "A lock that the instance does not describe",
		"hardlock_type names a lock of the instance, and no <hard_lock> of the instance has this type. Such a lock takes any "
		"values, so nothing shows when they are wrong.",
		"describe <hard_lock type=\"...\" lock_val=\"...\" unlock_val=\"...\"/> in the instance"},
	rule{"spi-lock-mismatch", warning, other, not_by_schema, "Lock values that are not those of the instance's lock",
		"The hardware lock of the instance is taken and released with the values of its <hard_lock>. With others it is refused, "
		"and with it whatever needs the lock.",
		"repeat the values of <hard_lock>"},

	rule{"spi-map-field-missing", error, map_fails, by_schema, "An SPI flash partition has no name",
		"An entry of spi_flash_map needs the element mtd_name.",
		"add <mtd_name>"},
	rule{"spi-map-name-empty", error, other, by_schema, "An SPI flash partition with an empty name",
		"Its MTD device would be called after the instance alone.",
		"name the partition"},
	rule{"spi-map-name-long", error, map_fails, by_schema, "An SPI flash partition's name has more than 18 characters",
		"The MTD device is called mtd_<8 digits>_<name>, in 32 bytes with the NUL: 18 are left for the name.",
		"shorten the name to 18 characters"},
	rule{"spi-map-number", error, map_fails, by_schema, "The range of an SPI flash partition is no number",
		"Numbers are decimal, or hexadecimal after 0x, and have at most 32 bits.",
		"write a number such as 4096 or 0x1000"},
	rule{"spi-map-half-range", warning, other, not_by_schema, "An SPI flash partition with only one of offset and size",
		"The two are read together. With one of them the entry is complete with its name alone, and what is given is ignored.",
		"give both or none"},
	rule{"spi-map-empty", error, other, not_by_schema, "An SPI flash partition of no bytes",
		"A partition is made of whole erase blocks, at least one.",
		"give it a size"},
	rule{"spi-map-wraps", error, other, not_by_schema, "An SPI flash partition ends beyond 2^32",
		"Offsets and sizes have 32 bits; no flash is that large.",
		"correct offset or size"},
	rule{"spi-map-overlap", error, other, not_by_schema, "SPI flash partitions overlap",
		"Partitions of one flash must not overlap; a flash driver refuses to create them.",
		"let the second begin where the first ends"},
	rule{"spi-map-name-twice", error, other, not_by_schema, "Two SPI flash partitions of the same name",
		"Their MTD devices would have the same name; a flash driver refuses to create them.",
		"rename one of them"},
};
// clang-format on

std::string anchor_line(const rule &about)
{
	return "### " + std::string(about.id) + "\n\n";
}

std::string capitalised(std::string_view text)
{
	std::string made(text);

	if (!made.empty() && made.front() >= 'a' && made.front() <= 'z')
		made.front() = static_cast<char>(made.front() - 'a' + 'A');
	return made;
}

// Angle brackets are code in Markdown.
std::string escaped(std::string_view text)
{
	std::string made;

	for (const char c : text) {
		if (c == '<' || c == '>' || c == '_' || c == '*')
			made += '\\';
		made += c;
	}
	return made;
}

std::string wrapped(std::string_view text, std::size_t width, std::string_view indent)
{
	std::string made(indent);
	std::size_t column = indent.size();

	while (!text.empty()) {
		const auto word = text.substr(0, text.find(' '));
		text.remove_prefix(std::min(word.size() + 1, text.size()));
		if (column > indent.size() && column + 1 + word.size() > width) {
			made += "\n" + std::string(indent);
			column = indent.size();
		} else if (column > indent.size()) {
			made += ' ';
			column++;
		}
		made += word;
		column += word.size();
	}
	return made + "\n";
}

} // namespace

std::span<const rule> all_rules()
{
	return rules;
}

const rule *find_rule(std::string_view id)
{
	const auto found = std::find_if(rules.begin(), rules.end(), [&](const rule &one) { return one.id == id; });

	return found == rules.end() ? nullptr : &*found;
}

std::string_view name_of(severity level)
{
	constexpr std::array<std::string_view, 3> names = {"note", "warning", "error"};

	return names[static_cast<std::size_t>(level)];
}

std::string_view words_for(effect consequence)
{
	constexpr std::array<std::string_view, 7> words = {
		"The file is not compiled.",
		"flash_mng does not load on this board.",
		"flash_mng loads without any section.",
		"The section cannot be used, or not up to its end.",
		"The settings of an SPI flash instance are not found.",
		"The entry of the partition map is not read.",
		"",
	};

	return words[static_cast<std::size_t>(consequence)];
}

std::string explained(const rule &about)
{
	const auto consequence = words_for(about.consequence);
	auto text = std::string(about.id) + ": " + std::string(about.title) + " (" + std::string(name_of(about.level)) + ")\n\n" +
		    wrapped(about.explanation, 78, "  ");

	if (!consequence.empty())
		text += "\n" + wrapped("On the board: " + std::string(consequence), 78, "  ");
	return text + "\n" + wrapped("What to do: " + std::string(about.hint) + ".", 78, "  ");
}

std::string rule_list()
{
	std::string text;

	for (const auto &one : rules) {
		auto id = std::string(one.id);
		id.resize(std::max<std::size_t>(id.size(), 26), ' ');
		auto level = std::string(name_of(one.level));
		level.resize(8, ' ');
		text += id + level + std::string(one.title) + "\n";
	}
	return text;
}

std::string rules_as_markdown()
{
	std::string text =
		"# Rules for board descriptions\n\n"
		"`flash-board check` looks at a board's XML with these rules; [board-xml.md](board-xml.md) explains the XML. This page is\n"
		"written by `flash-board explain --markdown`.\n\n"
		"An error is something that does not work, a warning something that is hardly meant, a note something worth knowing.\n"
		"Rules marked *schema* are found by `board/schema/flash_mng-board.rng` too. Rules about partitions need\n"
		"`--mtd` or `--mtdparts`.\n";

	for (const auto &one : rules) {
		const auto starts =
			std::find_if(groups.begin(), groups.end(), [&](const group &some) { return some.first_rule == one.id; });
		if (starts != groups.end())
			text += "\n## " + std::string(starts->title) + "\n";
		text += "\n" + anchor_line(one) + "**" + escaped(one.title) + "** (" + std::string(name_of(one.level)) +
			(one.in_schema ? ", *schema*" : "") + ")\n\n" + escaped(one.explanation) + "\n";
		if (!words_for(one.consequence).empty())
			text += "\nOn the board: " + escaped(words_for(one.consequence)) + "\n";
		text += "\n" + capitalised(escaped(one.hint)) + ".\n";
	}
	return text;
}

} // namespace flash_board
