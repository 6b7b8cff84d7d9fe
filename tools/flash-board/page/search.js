// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What lies at an address, under a number or under a name.
const most_answers = 100;

// A sentence may be around the number.
function number_in(text) {
	const found = text.match(/(?:^|[^\w])(0x[0-9a-f]+|\d+)(?![\w])/i);
	return found ? Number(found[1]) : null;
}

function answer(kind, text, show, rank = 1) {
	return { kind, text, show, rank };
}

// An answer that is a place of the map.
function answer_in_map(kind, text, rank, bar, from, to, span = null) {
	return answer(kind, text, scrolls => show_in_map(bar, from, to, span, scrolls), rank);
}

// @said: whether a section at its own address has been told of.
function answers_in_bar(bar, at, how, rank, said = () => false) {
	const here = spans_of(bar).filter(span => span.from <= at && at < span.to);
	const words = span => `${how} is byte ${hex(at - span.from)} of ${span.title} in ${bar.title}`;
	if (!here.length && at < known_end(bar)) return [answer_in_map("free", `${how} is free`, rank + 1, bar, at, at + 1)];
	return here.filter(span => !said(span)).map(span => answer_in_map(span.kind, words(span), rank, bar, at, at + 1, span));
}

// As callers count.
function answers_for_section_address(bar, at) {
	const has = span => span.kind === "section" && span.address <= at && at < span.address + span.to - span.from;
	return spans_of(bar)
		.filter(has)
		.map(span => {
			const inside = at - span.address;
			const flash = bar.offset === null ? "" : `, byte ${hex(bar.offset + inside)} of ${data.groups[bar.group]}`;
			const words = `Address ${hex(at)} of ${span.title} is byte ${hex(inside)} of partition ${bar.title}${flash}`;
			return answer_in_map("section", words, 0, bar, inside, inside + 1, span);
		});
}

// As the flash counts, where the places of its partitions are known.
function answers_for_flash_address(bar, at) {
	const inside = at - bar.offset;
	if (bar.offset === null || inside < 0 || inside >= extent(bar)) return [];
	const how = `Byte ${hex(at)} of ${data.groups[bar.group]}`;
	const said = span => span.kind === "section" && span.address === bar.offset;
	const words = `${how} is byte ${hex(inside)} of partition ${bar.title}`;
	return [answer_in_map("partition", words, 2, bar, inside, inside + 1), ...answers_in_bar(bar, inside, how, 3, said)];
}

function answers_for_address(at) {
	const in_itself = bar =>
		at < known_end(bar)
			? answers_in_bar(bar, at, `Byte ${hex(at)} of ${bar.instance === null ? "partition " : ""}${bar.title}`, 5)
			: [];
	return bars_of_variant().flatMap(bar => [
		...answers_for_section_address(bar, at),
		...answers_for_flash_address(bar, at),
		...in_itself(bar),
	]);
}

function is_shown(span) {
	return span.variants === null || span.variants.includes(state.variant);
}

function answers_for_id(id) {
	return data.spans
		.filter(one => one.id === id && is_shown(one))
		.map(span => {
			const bar = data.bars[span.bar];
			const words = `Section ${id} lies in ${bar.title}, addresses ${span.addresses}, ${human(span.to - span.from)}`;
			return answer_in_map("section", words, 1, bar, span.from, span.to, span);
		});
}

function answer_of_bar(bar, text) {
	const words = (bar.instance === null ? "Partition " : "SPI flash ") + bar.title + (bar.place ? ", " + bar.place : "");
	return answer_in_map("partition", words, bar.title.toLowerCase() === text ? 0 : 1, bar, 0, extent(bar));
}

function answer_of_span(span, text) {
	const bar = data.bars[span.bar];
	const words = `${span.title} in ${bar.title}, ${span.addresses}`;
	return answer_in_map(span.kind, words, span.title.toLowerCase() === text ? 0 : 2, bar, span.from, span.to, span);
}

// More than are shown are not looked for.
function answers_for_words(text) {
	const has = one => one.toLowerCase().includes(text);
	const found = [];
	const add = (list, is_meant, make) => {
		for (const [index, one] of list.entries()) {
			if (found.length > 10 * most_answers) return;
			if (is_meant(one)) found.push(make(one, index));
		}
	};
	const line = number => () => show_line(number);
	add(
		bars_of_variant(),
		bar => has(bar.title),
		bar => answer_of_bar(bar, text),
	);
	add(
		data.spans,
		span => has(span.title) && is_shown(span),
		span => answer_of_span(span, text),
	);
	add(
		data.findings,
		one => has(one.message) || has(one.rule),
		one => answer("finding " + one.severity, `Line ${one.line}: ${one.message}`, line(one.line), 3),
	);
	add(lines, has, (one, index) => answer("line", `Line ${index + 1}: ${one.trim().slice(0, 200)}`, line(index + 1), 4));
	return found;
}

function answers_for(text) {
	const words = text.trim().toLowerCase();
	const id = words.match(/^(?:section|id)\s+(0x[0-9a-f]+|\d+)$/);
	const number = number_in(words);
	if (id) return answers_for_id(Number(id[1]));
	if (number !== null) return [...answers_for_address(number), ...(/^\d+$/.test(words) ? answers_for_id(number) : [])];
	return answers_for_words(words);
}

// @goes: whether the map shows the first answer.
function search(text, goes = false) {
	by_id("answers").hidden = !text.trim();
	if (!text.trim()) return;
	const found = answers_for(text).sort((a, b) => a.rank - b.rank);
	fill(
		"answers-summary",
		found.length
			? (found.length > most_answers ? "The first " + most_answers + " of " : "") +
					counted(found.length, "answer") +
					" for "
			: "Nothing lies at, or is called, ",
		code(text.trim()),
	);
	fill(
		"answers-list",
		found
			.slice(0, most_answers)
			.map(one =>
				element(
					"li",
					{ class: one.kind },
					element("span", { class: "swatch " + one.kind }),
					element("button", { type: "button", class: "link", onclick: () => one.show(true) }, one.text),
				),
			),
	);
	if (goes && found.length && found[0].rank < 3) found[0].show(false);
}

function start_search() {
	by_id("search").addEventListener("submit", event => {
		event.preventDefault();
		search(by_id("query").value, true);
		history.replaceState(null, "", fragment());
	});
	by_id("query").addEventListener("input", event => {
		if (data.spans.length < 20000) search(event.target.value);
	});
}
