// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Making elements. Data becomes text, never markup.
// Characters that would hide or reorder others are shown by their numbers.
const hidden_characters = /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g;

function visible(text) {
	return String(text).replace(
		hidden_characters,
		c => "\u27e8U+" + c.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0") + "\u27e9",
	);
}

// element("p", {class: "hint", onclick: f}, "text", child): words that begin with "on" are listeners.
function element(name, properties = {}, ...children) {
	const made = document.createElement(name);
	for (const [key, value] of Object.entries(properties)) {
		if (key.startsWith("on")) made.addEventListener(key.slice(2), value);
		else if (value === true) made.setAttribute(key, "");
		else if (value !== false && value !== null && value !== undefined) made.setAttribute(key, visible(value));
	}
	made.append(
		...children
			.flat(Infinity)
			.filter(one => one !== null && one !== undefined && one !== "")
			.map(one => (one instanceof Node ? one : visible(one))),
	);
	return made;
}

function by_id(id) {
	return document.getElementById(id);
}

function fill(id, ...children) {
	const place = typeof id === "string" ? by_id(id) : id;
	place.replaceChildren(
		...children
			.flat(Infinity)
			.filter(one => one !== null)
			.map(one => (one instanceof Node ? one : document.createTextNode(visible(one)))),
	);
	return place;
}

function hex(number) {
	return "0x" + Math.max(0, Math.round(number)).toString(16).toUpperCase();
}

// An address in as many digits as the largest one beside it has.
function padded(number, largest) {
	const digits = Math.max(2, Math.round(largest).toString(16).length);
	return "0x" + Math.round(number).toString(16).toUpperCase().padStart(digits, "0");
}

function human(size) {
	for (const [unit, name] of [
		[2 ** 40, "TiB"],
		[2 ** 30, "GiB"],
		[2 ** 20, "MiB"],
		[2 ** 10, "KiB"],
	])
		if (size >= unit && (size * 4) % unit === 0) return size / unit + " " + name;
	for (const [unit, name] of [
		[2 ** 40, "TiB"],
		[2 ** 30, "GiB"],
		[2 ** 20, "MiB"],
	])
		if (size >= unit) return (size / unit).toFixed(2) + " " + name;
	return size + (size === 1 ? " byte" : " bytes");
}

function counted(number, what) {
	return number.toLocaleString("en") + " " + what + (number === 1 ? "" : "s");
}

function code(text, properties = {}) {
	return element("code", properties, text);
}

// A table whose rows are made when they are wanted: the first ones, then more with a button.
const rows_at_first = 250;

function long_table(caption, heads, rows, make_row) {
	const body = element("tbody");
	const table = element(
		"table",
		{},
		element("caption", {}, caption),
		element(
			"thead",
			{},
			element(
				"tr",
				{},
				heads.map(one => element("th", { scope: "col" }, one)),
			),
		),
		body,
	);
	return [
		element("div", { class: "scroll", role: "region", "aria-label": caption, tabindex: "0" }, table),
		growing(body, rows, make_row),
	];
}

function growing(body, rows, make_row, at_first = rows_at_first) {
	const more = element("p", { class: "more" });
	let shown = 0;
	const add = count => {
		const part = document.createDocumentFragment();
		for (const one of rows.slice(shown, shown + count)) part.append(make_row(one, shown++));
		body.append(part);
		fill(
			more,
			...(shown < rows.length
				? [
						(rows.length - shown).toLocaleString("en") + " more. ",
						element(
							"button",
							{ type: "button", onclick: () => add(1000) },
							"Show " + Math.min(1000, rows.length - shown).toLocaleString("en"),
						),
					]
				: []),
		);
		more.hidden = shown >= rows.length;
	};
	add(at_first);
	return more;
}
