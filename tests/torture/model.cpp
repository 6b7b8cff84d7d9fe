// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "model.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace torture {

namespace {

constexpr std::size_t page_size = 4096;
constexpr std::size_t guard_size = page_size;
constexpr uint32_t default_instance = 0xffffffff;
constexpr uint32_t most_valid = 0x3000;	       // bytes of a transfer that comes to pass
constexpr uint32_t beyond_memory = 0x40000000; // more than the board has
constexpr uint32_t beyond_end = 0x70050005;    // the flash service's own code
constexpr uint32_t canary_size = 64;
constexpr uint8_t canary = 0xa5;

struct partition_fact {
	const char *name;
	uint32_t size;
	uint32_t type; // as drv_flash_get_type() gives it
	bool listed;
};

constexpr partition_fact partitions[] = {
	{"usrdata", 8 << 20, 0, true}, {"config", 4 << 20, 0, true},	{"boot", 1 << 20, 0, false},
	{"ram0", 4 << 20, 1, false},   {"rootfs", 243 << 20, 0, false},
};

constexpr const char *names[] = {
	"usrdata",
	"config",
	"boot",
	"ram0",
	"rootfs",
	"nosuch",
	"",
	"usrdat",
	"usrdatab",
	"name_with_thirty_one_characters",
	"name_with_thirty_two_characters_",
	"%s%n%x",
};

constexpr uint32_t numbers[] = {
	0,	  1,	    2,	      31,	32,	  33,	    511,	512,	    2047,	2048,	    2049,	4095,
	4096,	  4097,	    0x1ffff,  0x20000,	0x20001,  0x3ffff,  0x40000,	0x40001,    0xfffff,	0x100000,   0x3fffff,	0x400000,
	0x400001, 0x7fffff, 0x800000, 0xd00000, 0xdfffff, 0xe00000, 0x7fffffff, 0x80000000, 0xfffff000, 0xfffffffe, 0xffffffff,
};

constexpr uint32_t known_commands[] = {
	FLASH_MNG_GET_NAND_PART_INFO,  FLASH_MNG_GET_PART_NUM, FLASH_MNG_GET_NAND_IS_EXIST, FLASH_MNG_FIND_CONFIG,
	FLASH_MNG_FIND_CONFIG_BY_INST, FLASH_MNG_MTD_READ,     FLASH_MNG_MTD_WRITE,	    FLASH_MNG_GET_MTD_STATISTICS,
};

uint8_t *mapped(int file, int protection)
{
	void *start = mmap(nullptr, memory_pieces::piece_size + guard_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
	if (start == MAP_FAILED || mmap(start, memory_pieces::piece_size, protection,
					MAP_SHARED | MAP_FIXED | (file < 0 ? MAP_ANONYMOUS : 0), file, 0) == MAP_FAILED)
		throw std::runtime_error("no memory for the fuzzer");
	return static_cast<uint8_t *>(start);
}

const partition_fact *fact(const char *name)
{
	for (const partition_fact &one : partitions)
		if (name && !std::strcmp(one.name, name))
			return &one;
	return nullptr;
}

bool good_name(const char *name)
{
	return name && *name && std::strlen(name) <= FLASH_MNG_NAME_MAX;
}

bool overflows(uint32_t offset, uint32_t length)
{
	return offset + length < offset;
}

// Nothing between what is quick and what no allocator has.
uint32_t sensible(uint32_t size)
{
	return size >= beyond_memory ? size : size % most_valid;
}

bool contained(uint32_t section_id, uint32_t offset, uint32_t length)
{
	const uint32_t start = section_id == 1 ? 0 : 0xd00000;
	const uint32_t end = section_id == 1 ? 0x400000 : 0xe00000;
	return (section_id == 1 || section_id == 2) && start <= offset && end > offset && end - offset >= length;
}

} // namespace

memory_pieces::memory_pieces()
{
	const int file = memfd_create("read_only", MFD_CLOEXEC);
	if (file < 0 || ftruncate(file, piece_size))
		throw std::runtime_error("no memory that is seen twice");
	ordinary_ = mapped(-1, PROT_READ | PROT_WRITE);
	read_only_ = mapped(file, PROT_READ);
	behind_read_only_ = mapped(file, PROT_READ | PROT_WRITE);
	moving_ = mapped(-1, PROT_READ | PROT_WRITE);
	close(file);
}

uint64_t memory_pieces::at(place where, uint32_t size) const
{
	const uint32_t from_start = size > piece_size ? 0 : piece_size - size;
	switch (where) {
	case ordinary:
		return address_of(ordinary_) + from_start;
	case read_only:
		return address_of(read_only_) + from_start;
	case crossing:
		return address_of(ordinary_) + from_start + (size + 1) / 2;
	case moving:
		return address_of(moving_) + from_start;
	case unmapped:
		return 0x10000;
	case kernel:
		return 0xffffff8000000000;
	case null:
		return 0;
	default:
		return 0xffffffffffffff00;
	}
}

uint8_t *memory_pieces::filled(place where, uint32_t size) const
{
	if (size > piece_size || where > read_only)
		return nullptr;
	return (where == ordinary ? ordinary_ : behind_read_only_) + piece_size - size;
}

void memory_pieces::move(choices &choice) const
{
	static constexpr int protections[] = {PROT_READ | PROT_WRITE, PROT_READ | PROT_WRITE, PROT_READ, PROT_NONE};
	uint8_t *const page = moving_ + piece_size - page_size * (1 + choice.below(3));
	if (choice.one_in(4))
		mmap(page, page_size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
	else
		mprotect(page, page_size, choice.of(protections));
}

// The words of a gene, one after the other.
class model::reader {
public:
	explicit reader(const gene &one) : words_(one.words) {}

	uint32_t next() { return words_[used_++ % words_.size()]; }
	template <typename list> const auto &of(const list &items) { return items[next() % std::size(items)]; }
	// A number at a border now and then, otherwise a small one.
	uint32_t number()
	{
		const uint32_t word = next();
		return word & 1 ? numbers[(word >> 8) % std::size(numbers)] : (word >> 8) % most_valid;
	}
	memory_pieces::place place()
	{
		const uint32_t word = next();
		return word & 1 ? memory_pieces::ordinary : static_cast<memory_pieces::place>((word >> 8) % memory_pieces::places);
	}
	const char *name() { return of(names); }

private:
	const std::array<uint32_t, 8> &words_;
	std::size_t used_ = 1; // the first one says which call it is
};

model::model(const flash_mng_access &access, std::string own, uint32_t usable, uint32_t window)
	: access_(access), own_(std::move(own)), usable_(usable), window_(window), content_(usable)
{
	if (access_.transfer(FLASH_MNG_MTD_WRITE, own_, 0, content_.data(), usable_))
		throw std::runtime_error(own_ + " cannot be written");
}

void model::move(choices &choice) const
{
	(choice.one_in(2) ? memory_ : data_).move(choice);
}

std::string model::verdict(const std::string &call, uint32_t code, std::initializer_list<uint32_t> expected)
{
	++counted_[call];
	seen_.add(call, code);
	if (std::find(expected.begin(), expected.end(), code) != expected.end())
		return {};
	char text[80];
	std::snprintf(text, sizeof(text), " gave 0x%08x and should give 0x%08x", code, *expected.begin());
	return call + text;
}

std::string model::question(reader &from)
{
	static constexpr struct {
		uint32_t number;
		uint32_t size;
		const char *name;
	} questions[] = {
		{FLASH_MNG_GET_NAND_PART_INFO, sizeof(nand_part_info), "FLASH_MNG_GET_NAND_PART_INFO"},
		{FLASH_MNG_GET_PART_NUM, 4, "FLASH_MNG_GET_PART_NUM"},
		{FLASH_MNG_GET_NAND_IS_EXIST, 4, "FLASH_MNG_GET_NAND_IS_EXIST"},
		{FLASH_MNG_GET_MTD_STATISTICS, sizeof(flash_mtd_statistics), "FLASH_MNG_GET_MTD_STATISTICS"},
	};
	const auto &[number, size, name] = from.of(questions);
	const auto where = from.place();
	uint8_t *const record = memory_.filled(where, size);
	if (record)
		std::memset(record - canary_size, canary, size + canary_size);
	const uint32_t code = access_.command_at(number, memory_.at(where, size));
	if (where == memory_pieces::moving)
		return verdict(name, code, {FLASH_MNG_OK, FLASH_MNG_COPY_FAILED});
	const bool writable = memory_pieces::writable(where, size);
	const std::string wrong = verdict(name, code, {writable ? FLASH_MNG_OK : FLASH_MNG_COPY_FAILED});
	if (!wrong.empty() || !record)
		return wrong;
	if (std::any_of(record - canary_size, record, [](uint8_t byte) { return byte != canary; }))
		return std::string(name) + " wrote before its record";
	if (!writable)
		return {};
	uint32_t first;
	std::memcpy(&first, record, sizeof(first));
	const bool is_list = number == FLASH_MNG_GET_MTD_STATISTICS;
	if (is_list ? first < std::size(partitions) : first != 1)
		return std::string(name) + " gave count " + std::to_string(first);
	if (size > 4 && record[size - 1] != 0)
		return std::string(name) + " did not fill its record";
	return {};
}

std::string model::find(reader &from, bool by_name)
{
	static constexpr uint32_t instances[] = {standing_instance, 0x11, 0x77, 0xffffffff};
	const auto where = from.place();
	const auto name_where = from.place();
	uint32_t length = from.next() % 8 ? from.next() % 36 : from.number();
	const uint32_t which = from.next() % (std::size(names) + std::size(standing_names));
	const char *const name = which < std::size(names) ? names[which] : standing_names[which - std::size(names)];
	if (from.next() % 2)
		length = static_cast<uint32_t>(std::strlen(name));

	flash_find_config_arg request = {};
	request.inst_id = from.of(instances);
	request.name_length = length;
	request.name = data_.at(name_where, length);
	if (uint8_t *const to = length <= 64 ? data_.filled(name_where, length) : nullptr) {
		std::memset(to, 0, length);
		std::memcpy(to, name, std::min<std::size_t>(length, std::strlen(name)));
	}
	const char *const call = by_name ? "FLASH_MNG_FIND_CONFIG" : "FLASH_MNG_FIND_CONFIG_BY_INST";
	uint8_t *const record = memory_.filled(where, sizeof(request));
	if (record)
		std::memcpy(record, &request, sizeof(request));
	const uint32_t code =
		access_.command_at(by_name ? FLASH_MNG_FIND_CONFIG : FLASH_MNG_FIND_CONFIG_BY_INST, memory_.at(where, sizeof(request)));
	// Instance 0x11 comes and goes.
	if (where == memory_pieces::moving || name_where == memory_pieces::moving || (!by_name && request.inst_id == 0x11))
		return verdict(call, code, {code});
	if (!memory_pieces::readable(where, sizeof(request)))
		return verdict(call, code, {FLASH_MNG_REQUEST_UNREADABLE});
	if (by_name && length > FLASH_MNG_NAME_SIZE)
		return verdict(call, code, {FLASH_MNG_BAD_LENGTH});
	if (by_name && length && !memory_pieces::readable(name_where, length))
		return verdict(call, code, {FLASH_MNG_REQUEST_UNREADABLE});
	const std::string asked(name, std::min<std::size_t>(length, std::strlen(name)));
	const bool known = by_name ? asked == standing_names[0] || asked == standing_names[1] : request.inst_id == standing_instance;
	if (!known)
		return verdict(call, code, {FLASH_MNG_NOT_FOUND});
	if (!memory_pieces::writable(where, sizeof(request)))
		return verdict(call, code, {sizeof(request)});
	const std::string wrong = verdict(call, code, {FLASH_MNG_OK});
	std::memcpy(&request, record, sizeof(request));
	const spi_controller_config &found = request.config;
	if (wrong.empty() && (found.inst_id != standing_instance || found.cfg_inst_id != standing_instance || found.sfc_chip_id != 1))
		return std::string(call) + " gave other settings";
	return wrong;
}

std::string model::request(reader &from, bool write)
{
	const char *const call = write ? "FLASH_MNG_MTD_WRITE" : "FLASH_MNG_MTD_READ";
	const auto where = from.place();
	const auto data_where = from.place();
	const char *name = from.next() % 2 ? own_.c_str() : from.name();
	uint32_t offset = from.number();
	const uint32_t length = sensible(from.number());
	const uint8_t fill = static_cast<uint8_t>(from.next());
	if (write && name != own_ && fact(name) && fact(name)->listed)
		name = own_.c_str();
	if (offset + length < beyond_memory)
		offset = offset % (2 * usable_);

	flash_mtd_io_arg request = {};
	std::memcpy(request.name, name, std::min(std::strlen(name), sizeof(request.name)));
	request.offset = offset;
	request.length = length;
	request.buffer = data_.at(data_where, length);
	if (uint8_t *const record = memory_.filled(where, sizeof(request)))
		std::memcpy(record, &request, sizeof(request));
	uint8_t *const data = data_.filled(data_where, length);
	if (data)
		std::memset(data, fill, length);
	const bool racing = where == memory_pieces::moving || data_where == memory_pieces::moving;
	const uint32_t code = access_.command_at(write ? FLASH_MNG_MTD_WRITE : FLASH_MNG_MTD_READ, memory_.at(where, sizeof(request)));

	if (where == memory_pieces::moving)
		return verdict(call, code, {FLASH_MNG_USER_UNREADABLE, FLASH_MNG_NOT_LISTED});
	if (!memory_pieces::readable(where, sizeof(request)))
		return verdict(call, code, {FLASH_MNG_USER_UNREADABLE});
	if (!fact(name) || !fact(name)->listed)
		return verdict(call, code, {FLASH_MNG_NOT_LISTED});
	if (length == 0)
		return verdict(call, code, {FLASH_MNG_EMPTY_RANGE});
	if (length >= beyond_memory)
		return verdict(call, code, {FLASH_MNG_NO_BUFFER});
	if (write && racing) {
		// Whatever was in the memory that moves: zeros.
		const bool beyond = offset >= usable_ || usable_ - offset < length;
		if (code == FLASH_MNG_OK && !beyond)
			std::fill_n(content_.begin() + offset, length, 0);
		return verdict(call, code, {beyond ? 34u : FLASH_MNG_OK, FLASH_MNG_USER_UNREADABLE, 22});
	}
	if (write && !memory_pieces::readable(data_where, length))
		return verdict(call, code, {FLASH_MNG_USER_UNREADABLE});
	if (write && (offset >= usable_ || usable_ - offset < length))
		return verdict(call, code, {34, 22});
	if (write) {
		std::fill_n(content_.begin() + offset, length, fill);
		return verdict(call, code, {FLASH_MNG_OK});
	}
	if (overflows(offset, length) || offset + length >= beyond_memory)
		return verdict(call, code, {FLASH_MNG_NO_BUFFER});
	if (offset + length > fact(name)->size)
		return verdict(call, code, {beyond_end});
	if (racing)
		return verdict(call, code, {FLASH_MNG_OK, FLASH_MNG_USER_UNWRITABLE});
	if (!memory_pieces::writable(data_where, length))
		return verdict(call, code, {FLASH_MNG_USER_UNWRITABLE});
	const std::string wrong = verdict(call, code, {FLASH_MNG_OK});
	if (wrong.empty() && name == own_ && offset < usable_ &&
	    !std::equal(data, data + std::min(length, usable_ - offset), content_.begin() + offset))
		return std::string(call) + " gave other bytes than were written";
	return wrong;
}

std::string model::other_number(reader &from)
{
	const uint32_t number = from.next() % 2 ? from.next() : from.of(known_commands) ^ 1u << from.next() % 32;
	if (std::find(std::begin(known_commands), std::end(known_commands), number) != std::end(known_commands))
		return {};
	switch (number) { // that Linux takes for itself before it asks the device
	case 0x5450:	  // FIONCLEX
	case 0x5451:	  // FIOCLEX
	case 0x5421:	  // FIONBIO
	case 0x5452:	  // FIOASYNC
	case 0x5460:	  // FIOQSIZE
		return {};
	}
	if (number >> 8 == 0xc02058 || (number & 0xff00) == 0x5800 || (number & 0xff00) == 0x6600 || number == 1 || number == 2)
		return {};
	const auto where = from.place();
	return verdict("unknown command", access_.command_at(number, memory_.at(where, 8)), {FLASH_MNG_UNKNOWN_COMMAND});
}

std::string model::section(reader &from, bool write)
{
	static constexpr uint32_t instances[] = {default_instance, default_instance, default_instance, 0x11, 0};
	static constexpr uint32_t ids[] = {1, 2, 1, 2, 0, 3, 0xffffffff};
	const uint32_t inst_id = from.of(instances);
	const uint32_t id = from.of(ids);
	uint32_t offset = from.number();
	uint32_t length = from.number();
	const bool no_buffer = from.next() % 16 == 0;
	if (contained(id, offset, length)) {
		length %= most_valid;
		offset = (id == 1 ? 0 : 0xd00000) + window_ + offset % most_valid;
	}
	const bool valid = contained(id, offset, length);
	bytes memory(valid ? length : 64);
	export_call call(write ? FLASH_CALL_drv_flash_write : FLASH_CALL_drv_flash_read);
	call.value(inst_id).value(id).value(offset);
	if (no_buffer)
		call.value(0);
	else
		call.memory(memory.data(), memory.size());
	const char *const name = write ? "drv_flash_write" : "drv_flash_read";
	const uint32_t code = call.value(length).make(access_);
	if (no_buffer)
		return verdict(name, code, {FLASH_MNG_NULL_POINTER});
	if (overflows(offset, length))
		return verdict(name, code, {FLASH_MNG_OVERFLOW});
	return verdict(name, code, {inst_id == default_instance && valid ? FLASH_MNG_OK : FLASH_MNG_INVALID});
}

std::string model::partition(reader &from, bool write)
{
	const char *name = from.next() % 16 ? from.name() : nullptr;
	uint32_t offset = from.number();
	uint32_t length = from.number();
	const bool no_buffer = from.next() % 16 == 0;
	const uint8_t fill = static_cast<uint8_t>(from.next());
	if (write && fact(name) && fact(name)->listed)
		name = own_.c_str();
	const partition_fact *const known = fact(name);
	const auto in_range = [&] { return known && !overflows(offset, length) && offset + length <= known->size; };
	if (in_range()) {
		length %= most_valid;
		offset = known->listed ? offset % (2 * usable_) : window_ + offset % most_valid;
	}
	const bool valid = in_range() && length && !no_buffer;
	bytes memory(valid ? length : 64, fill);
	export_call call(write ? FLASH_CALL_drv_flash_mtd_write : FLASH_CALL_drv_flash_mtd_read);
	if (name)
		call.text(name);
	else
		call.value(0);
	call.value(offset);
	if (no_buffer)
		call.value(0);
	else
		call.memory(memory.data(), memory.size());
	const uint32_t code = call.value(length).make(access_);

	const char *const function = write ? "drv_flash_mtd_write" : "drv_flash_mtd_read";
	if (!good_name(name))
		return verdict(function, code, {FLASH_MNG_INVALID});
	if (!known)
		return verdict(function, code, {FLASH_MNG_NO_PARTITION});
	if (no_buffer || !length)
		return verdict(function, code, {FLASH_MNG_NO_DATA});
	if (overflows(offset, length))
		return verdict(function, code, {FLASH_MNG_OVERFLOW});
	if (!valid)
		return verdict(function, code, {FLASH_MNG_INVALID});
	const bool own = name == own_;
	const bool usable = offset < usable_ && usable_ - offset >= length;
	if (write && own && !usable)
		return verdict(function, code, {34, 22});
	if (write && own)
		std::fill_n(content_.begin() + offset, length, fill);
	const std::string wrong = verdict(function, code, {FLASH_MNG_OK});
	if (wrong.empty() && !write && own && usable && !std::equal(memory.begin(), memory.end(), content_.begin() + offset))
		return std::string(function) + " gave other bytes than were written";
	return wrong;
}

std::string model::about_name(reader &from)
{
	const bool size = from.next() % 2;
	const char *const name = from.next() % 16 ? from.name() : nullptr;
	const bool no_place = from.next() % 8 == 0;
	uint64_t answer = ~0ull;
	export_call call(size ? FLASH_CALL_drv_flash_get_mtd_size : FLASH_CALL_drv_flash_get_type);
	if (name)
		call.text(name);
	else
		call.value(0);
	if (no_place)
		call.value(0);
	else
		call.memory(&answer, size ? 8 : 4);
	const uint32_t code = call.make(access_);
	const char *const function = size ? "drv_flash_get_mtd_size" : "drv_flash_get_type";
	const partition_fact *const known = fact(name);
	if (!good_name(name) || (size && no_place))
		return verdict(function, code, {FLASH_MNG_INVALID});
	if (!known)
		return verdict(function, code, {FLASH_MNG_NO_PARTITION});
	if (no_place)
		return verdict(function, code, {FLASH_MNG_NULL_POINTER});
	const std::string wrong = verdict(function, code, {FLASH_MNG_OK});
	if (wrong.empty() && (size ? answer != known->size : static_cast<uint32_t>(answer) != known->type))
		return std::string(function) + " gave " + std::to_string(answer);
	return wrong;
}

std::string model::about_user_data(reader &from)
{
	static constexpr struct {
		flash_call_function function;
		uint32_t size;
		const char *name;
	} functions[] = {
		{FLASH_CALL_drv_flash_get_nand_part_num, 4, "drv_flash_get_nand_part_num"},
		{FLASH_CALL_drv_flash_get_nand_part_size_info, sizeof(nand_part_info), "drv_flash_get_nand_part_size_info"},
		{FLASH_CALL_drv_flash_get_nand_is_exist, 4, "drv_flash_get_nand_is_exist"},
	};
	const auto &[function, size, name] = from.of(functions);
	const bool no_place = from.next() % 4 == 0;
	bytes memory(size);
	export_call call(function);
	if (no_place)
		call.value(0);
	else
		call.memory(memory.data(), size);
	const uint32_t code = call.make(access_);
	const std::string wrong = verdict(name, code, {no_place ? FLASH_MNG_NULL_POINTER : FLASH_MNG_OK});
	return wrong.empty() && !no_place && memory[0] != 1 ? std::string(name) + " did not give 1" : wrong;
}

// Others do the same, so any code may come; most genes of this kind only ask, as each created flash leaves names behind.
std::string model::flash(reader &from)
{
	static constexpr uint32_t instances[] = {0x11, 0x12, 0x13, 0x77, 0xffffffff};
	static constexpr const char *part_names[] = {"made_a", "made_b", "", "made_name_of_thirty_two_characte"};
	const uint32_t inst_id = from.of(instances);
	const uint32_t kind = from.next() % 64;
	if (kind == 0) {
		flash_part parts[3] = {};
		const uint32_t count = from.next() % 4;
		for (uint32_t i = 0; i < count; ++i) {
			const char *const name = from.of(part_names);
			parts[i].offset = from.next() % 2 ? i * 0x10000 : from.number();
			parts[i].size = from.next() % 2 ? 0x10000 : from.number();
			std::memcpy(parts[i].mtd_name, name, std::min(std::strlen(name), sizeof(parts[i].mtd_name)));
		}
		export_call call(FLASH_CALL_drv_flash_create);
		call.value(inst_id);
		if (count)
			call.parts({parts, count});
		else
			call.value(0);
		const uint32_t code = call.make(access_);
		return verdict("drv_flash_create", code, {count ? code : FLASH_MNG_FAILED});
	}
	if (kind < 4) {
		const uint32_t code = export_call(FLASH_CALL_drv_flash_destroy).value(inst_id).make(access_);
		return verdict("drv_flash_destroy", code, {inst_id > 0x13 ? FLASH_MNG_FAILED : code});
	}
	uint64_t size = 0;
	const bool no_place = from.next() % 8 == 0;
	export_call call(FLASH_CALL_drv_flash_get_size);
	call.value(inst_id).value(from.next());
	if (no_place)
		call.value(0);
	else
		call.memory(&size, sizeof(size));
	const uint32_t code = call.make(access_);
	if (no_place)
		return verdict("drv_flash_get_size", code, {FLASH_MNG_NULL_POINTER});
	return verdict("drv_flash_get_size", code, {inst_id > 0x13 ? FLASH_MNG_FAILED : code});
}

bool model::may_transfer()
{
	if (transfers_ >= 100 && transfers_ >= genes_ / 50)
		return false;
	++transfers_;
	return true;
}

std::string model::run(const gene &one)
{
	reader from(one);
	const uint32_t kind = one.words[0] % 32;
	++genes_;
	if (kind <= 5 && !may_transfer())
		return question(from);
	switch (kind) {
	case 0:
		return request(from, false);
	case 1:
		return request(from, true);
	case 2:
		return section(from, false);
	case 3:
		return section(from, true);
	case 4:
		return partition(from, false);
	case 5:
		return partition(from, true);
	case 6:
	case 7:
		return about_name(from);
	case 8:
		return about_user_data(from);
	case 9:
	case 10:
		return flash(from);
	case 11:
	case 12:
	case 13:
	case 14:
		return other_number(from);
	case 15:
	case 16:
	case 17:
	case 18:
	case 19:
		return find(from, true);
	case 20:
	case 21:
	case 22:
		return find(from, false);
	default:
		return question(from);
	}
}

} // namespace torture
