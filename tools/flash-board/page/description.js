// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The findings, and the lines that they are about.
const lines = data.source.split("\n").map(one => one.replace(/\r$/, ""));
const findings_by_line = new Map();
for (const one of data.findings) {
	if (!findings_by_line.has(one.line)) findings_by_line.set(one.line, []);
	findings_by_line.get(one.line).push(one);
}
const spans_by_line = new Map(data.spans.map(one => [one.line, one]));

function findings_of_line(line) {
	return findings_by_line.get(line) || [];
}

function line_link(line) {
	return element("button", { type: "button", class: "link", onclick: () => show_line(line) }, "line " + line);
}

function finding_item(one) {
	return element(
		"li",
		{ class: "finding " + one.severity },
		element(
			"p",
			{},
			element("span", { class: "badge " + one.severity }, one.severity),
			" ",
			line_link(one.line),
			" ",
			element("span", { class: "text" }, one.message),
		),
		element("p", { class: "hint" }, one.hint, " ", code(one.rule, { title: (data.rules[one.rule] || {}).title })),
	);
}

function draw_findings() {
	const words = ["error", "warning", "note"].map(level => [level, data.findings.filter(one => one.severity === level).length]);
	fill(
		"counts",
		words.map(([level, count]) => element("li", { class: "badge " + (count ? level : "none") }, counted(count, level))),
	);
	if (!data.findings.length) return fill("findings-body", element("p", { class: "good" }, "Nothing found."));
	const list = element("ol", { class: "findings" });
	return fill("findings-body", list, growing(list, data.findings, finding_item, 100));
}

// Words of a line of XML with their classes. Comments go on over lines.
const words_of_xml = /(<!--)|("[^"]*"|'[^']*')|(<\/?[\w.:-]+|\/?>|\?>|<\?[\w]+)|([\w.:-]+)(?==)/g;

function coloured(text, is_comment) {
	if (text.length > 2000) return { nodes: [text], is_comment };
	const nodes = [];
	let at = 0;
	const put = (end, name) => {
		if (end > at) nodes.push(name ? element("span", { class: name }, text.slice(at, end)) : visible(text.slice(at, end)));
		at = end;
	};
	const comment = () => {
		const end = text.indexOf("-->", at);
		is_comment = end < 0;
		put(is_comment ? text.length : end + 3, "comment");
	};
	if (is_comment) comment();
	for (words_of_xml.lastIndex = at; at < text.length;) {
		const found = words_of_xml.exec(text);
		if (!found) break;
		put(found.index, "");
		if (found[1]) {
			comment();
			words_of_xml.lastIndex = at;
		} else {
			put(found.index + found[0].length, found[2] ? "value" : found[3] ? "tag" : "attribute");
		}
	}
	put(text.length, "");
	words_of_xml.lastIndex = 0;
	return { nodes, is_comment };
}

function begins_in_comment(index) {
	for (let at = index - 1; at >= Math.max(0, index - 400); at--) {
		const open = lines[at].lastIndexOf("<!--");
		const closed = lines[at].lastIndexOf("-->");
		if (open >= 0 || closed >= 0) return open > closed;
	}
	return false;
}

function line_row(number, is_comment) {
	const found = findings_of_line(number);
	const span = spans_by_line.get(number);
	const { nodes, is_comment: goes_on } = coloured(lines[number - 1], is_comment);
	const row = element(
		"div",
		{ class: "line" + (found.length ? " " + found[0].severity : ""), id: "line-" + number },
		element("span", { class: "number" }, number),
		element("code", {}, nodes.length ? nodes : "\u00a0"),
		span
			? element(
					"button",
					{
						type: "button",
						class: "link to-map",
						"aria-label": "Show " + span.title + " in the map",
						onclick: () => show_in_map(data.bars[span.bar], span.from, span.to, span),
					},
					span.title,
				)
			: "",
		found.map(one =>
			element(
				"div",
				{ class: "said " + one.severity },
				element("span", { class: "badge " + one.severity }, one.severity),
				" " + one.message + " ",
				element("small", {}, one.hint + " "),
				code(one.rule),
			),
		),
	);
	return { row, goes_on };
}

const lines_at_once = 300;
const all_lines_up_to = 1500;

function rows_of(from, to) {
	const part = document.createDocumentFragment();
	let is_comment = begins_in_comment(from - 1);
	for (let number = from; number <= to; number++) {
		const { row, goes_on } = line_row(number, is_comment);
		is_comment = goes_on;
		part.append(row);
	}
	return part;
}

// Lines that are not shown yet, with buttons for those at both ends.
function gap(from, to) {
	const made = element("div", { class: "gap" });
	made.from = from;
	made.to = to;
	const open = (first, last) => {
		const parts = [];
		if (first > from) parts.push(gap(from, first - 1));
		parts.push(rows_of(first, last));
		if (last < to) parts.push(gap(last + 1, to));
		made.replaceWith(...parts);
	};
	made.open = open;
	const count = to - from + 1;
	made.append(
		element("span", {}, "lines " + from + " to " + to + " "),
		element(
			"button",
			{ type: "button", onclick: () => open(from, Math.min(to, from + lines_at_once - 1)) },
			"Show " + Math.min(count, lines_at_once),
		),
		count > lines_at_once
			? element(
					"button",
					{ type: "button", onclick: () => open(to - lines_at_once + 1, to) },
					"Show the last " + lines_at_once,
				)
			: "",
	);
	return made;
}

// All lines of a short description, else those around the first findings.
function draw_source() {
	const parts = [];
	let shown = 0;
	const show = (from, to) => {
		if (from > shown + 1) parts.push(gap(shown + 1, from - 1));
		if (to > shown) parts.push(rows_of(Math.max(from, shown + 1), to));
		shown = Math.max(shown, to);
	};
	if (lines.length <= all_lines_up_to) show(1, lines.length);
	else
		for (const line of [1, ...[...findings_by_line.keys()].sort((a, b) => a - b).slice(0, 60)])
			show(Math.max(1, line - 3), Math.min(lines.length, line + (line === 1 ? 40 : 3)));
	if (shown < lines.length) parts.push(gap(shown + 1, lines.length));
	fill("source", parts);
}

function show_line(number) {
	const hidden = [...by_id("source").querySelectorAll(".gap")].find(one => one.from <= number && number <= one.to);
	if (hidden) hidden.open(Math.max(hidden.from, number - 40), Math.min(hidden.to, number + 40));
	const row = by_id("line-" + number);
	if (!row) return;
	for (const one of by_id("source").querySelectorAll(".chosen")) one.classList.remove("chosen");
	row.classList.add("chosen");
	row.tabIndex = -1;
	by_id("description").scrollIntoView();
	by_id("source").scrollTop = row.offsetTop - by_id("source").offsetTop - by_id("source").clientHeight / 3;
	row.focus({ preventScroll: true });
}
