// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Variants of the board side by side.
const most_columns = 24;

function rows_of_variants() {
	const rows = new Map();
	for (const span of data.spans) {
		if (span.kind !== "section") continue;
		if (!rows.has(span.id)) rows.set(span.id, { id: span.id, cells: data.variants.map(() => []) });
		for (const variant of span.variants === null ? data.variants.keys() : span.variants)
			rows.get(span.id).cells[variant].push(span);
	}
	return [...rows.values()].sort((a, b) => a.id - b.id);
}

function words_of_cell(spans) {
	return spans.map(one => data.bars[one.bar].title + "\u0000" + one.address + "\u0000" + one.to).join("\u0001");
}

function cell(spans, base, is_base) {
	const same = words_of_cell(spans) === words_of_cell(base);
	const differs = (value, of) =>
		!is_base && base.length === 1 && spans.length === 1 && of(spans[0]) !== of(base[0]) ? element("mark", {}, value) : value;
	return element(
		"td",
		{ class: is_base ? "base" : same ? "same" : "differs" },
		spans.length
			? spans.map(one =>
					element(
						"div",
						{},
						differs(data.bars[one.bar].title, span => data.bars[span.bar].title),
						" ",
						differs(hex(one.address), span => span.address),
						" ",
						differs(human(one.to - one.from), span => span.to),
						" ",
						line_link(one.line),
					),
				)
			: is_base || base.length
				? element("mark", {}, "none")
				: "none",
	);
}

function draw_variants() {
	if (data.variants.length < 2) return;
	by_id("variants").hidden = false;
	const own = Math.max(
		0,
		data.variants.findIndex(one => one.own),
	);
	const order = [own, ...data.variants.keys()].filter((one, index) => index === 0 || one !== own).slice(0, most_columns);
	const all = rows_of_variants();
	const changed = all.filter(row => order.some(one => words_of_cell(row.cells[one]) !== words_of_cell(row.cells[own])));
	const only = element("input", { type: "checkbox", id: "only-differences" });
	const body = element("div");
	const draw = () =>
		fill(
			body,
			...long_table(
				"Sections of each variant: partition, first address, size",
				[
					"Section",
					...order.map(one => "Variant " + data.variants[one].number + (one === own ? " (the board's own)" : "")),
				],
				only.checked ? changed : all,
				row =>
					element(
						"tr",
						{ class: changed.includes(row) ? "changed" : "" },
						element("th", { scope: "row" }, "section " + row.id),
						order.map(one => cell(row.cells[one], row.cells[own], one === own)),
					),
			),
		);
	only.addEventListener("change", draw);
	fill(
		"variants-about",
		counted(changed.length, "section") +
			" of " +
			all.length.toLocaleString("en") +
			" differ between the variants" +
			(order.length < data.variants.length
				? "; the first " + order.length + " of " + data.variants.length + " variants are shown"
				: "") +
			".",
		data.variants_left_out ? " " + counted(data.variants_left_out, "variant") + " left out." : "",
	);
	fill("variants-body", element("label", { class: "only" }, only, " only what differs"), body);
	draw();
}

function choose_variant(index) {
	state.variant = index;
	draw_map();
	if (by_id("query").value) search(by_id("query").value);
	history.replaceState(null, "", fragment());
	fill("subtitle", subtitle());
}

function draw_variant_choice() {
	by_id("variant-choice").hidden = data.variants.length < 2;
	fill(
		"variant-buttons",
		data.variants.map((one, index) =>
			element(
				"label",
				{},
				element("input", {
					type: "radio",
					name: "variant",
					value: index,
					checked: index === state.variant,
					onchange: () => choose_variant(index),
				}),
				" " + one.number + (one.own ? " (own)" : ""),
			),
		),
	);
}
