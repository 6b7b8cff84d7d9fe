// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What the module makes of the board.
function outcome(number) {
	return number ? element("span", { class: "badge error" }, hex(number)) : "ok";
}

function columns(names, row) {
	return [
		names,
		one =>
			element(
				"tr",
				{},
				row(one).map((value, index) => (index ? element("td", {}, value) : element("th", { scope: "row" }, value))),
			),
	];
}

const levels = { 1: "serious", 2: "ordinary", 3: "trace" };

function simulation_tables(from) {
	const table = (title, rows, [names, make]) => (rows.length ? long_table(title, names, rows, make) : []);
	const messages = columns(["Level", "Log", "Message"], one => [
		element("span", { class: "level level-" + one.level }, levels[one.level]),
		one.log,
		code(one.text),
	]);
	return [
		...table(
			"Sections",
			from.sections.map((one, row) => ({ ...one, row })),
			columns(["Row", "Section", "Partition", "First address", "Size", "Served by row", "Reading the last byte"], one => [
				one.row,
				one.id,
				one.partition,
				hex(one.offset),
				hex(one.size),
				one.served_by === null ? "none" : one.served_by,
				outcome(one.last_byte),
			]),
		),
		...table(
			"Partitions that are updated whole",
			from.partitions,
			columns(["Partition", "Usable size", "Programs read", "Modules read", "Writes can be lost"], one => [
				one.name,
				hex(one.avail_size),
				one.transfer_path_of_programs,
				one.transfer_path_of_modules,
				one.can_lose_writes ? element("span", { class: "badge warning" }, "yes") : "no",
			]),
		),
		...table(
			"SPI flash instances",
			from.spi_flashes,
			columns(["Instance", "Search", "Described by", "Chip", "Controller", "Chip select", "Lock type"], one => [
				hex(one.instance),
				outcome(one.code),
				...(one.code
					? ["", "", "", "", ""]
					: [hex(one.described_by), one.chip, one.controller, one.chip_select, one.lock_type]),
			]),
		),
		...table(
			"Partitions of SPI flashes",
			from.spi_partitions,
			columns(["Instance", "Entry", "Read", "MTD device", "Offset", "Size"], one => [
				hex(one.instance),
				one.entry,
				outcome(one.code),
				...(one.code ? ["", "", ""] : [one.mtd_name, hex(one.offset), hex(one.size)]),
			]),
		),
		...table("Messages of the load", from.load_messages, messages),
		...table("Messages of the searches for SPI flashes", from.search_messages, messages),
	];
}

function draw_simulation() {
	const from = data.simulation;
	if (!from) return fill("simulation-body", element("p", { class: "notice" }, data.no_simulation));
	return fill(
		"simulation-body",
		element(
			"p",
			{ class: from.load_code ? "notice" : "good" },
			from.load_code ? "flash_mng does not load: " + hex(from.load_code) + ", " + (from.failure || "") : "flash_mng loads.",
		),
		element("p", {}, "User data partition: ", from.user_data_partition || "none"),
		...simulation_tables(from),
	);
}
