// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The search box: the messages that a line of a console may be, then sections that have all the words, those with them in a heading first.
const box = document.getElementById("search");
const list = document.getElementById("found");
const up = document.body.dataset.up;
const shown = 30;

// What a message prints: something for each value.
function printed(format) {
	const texts = format.split(/%[-+ #0]*[0-9]*(?:l|ll|z)?[a-zA-Z]/);
	return new RegExp(texts.map((text) => text.replace(/[.*+?^${}()|[\]\\]/g, "\\$&")).join(".*"), "i");
}

for (const section of sections) {
	section.push((section[2] + " " + section[3] + " " + section[4]).toLowerCase());
	section.push(section[2] === "Message" ? printed(section[3]) : null);
}

function search(text, words) {
	const heading = (section) => words.filter((word) => section[3].toLowerCase().includes(word)).length;
	const lines = sections.filter((section) => section[6] && section[6].test(text));
	const others = sections.filter((section) => !lines.includes(section) && words.every((word) => section[5].includes(word)));
	return lines.concat(others.sort((one, other) => heading(other) - heading(one)));
}

function excerpt(section, words) {
	const text = section[4];
	const at = Math.max(0, text.toLowerCase().indexOf(words[0]) - 60);
	return (at ? "... " : "") + text.slice(at, at + 180) + (at + 180 < text.length ? " ..." : "");
}

function entry(section, words) {
	const item = document.createElement("li");
	const link = document.createElement("a");
	link.href = up + section[0] + (section[1] ? "#" + section[1] : "");
	link.textContent = section[2] === section[3] || !section[3] ? section[2] : section[2] + ": " + section[3];
	link.addEventListener("click", () => { list.hidden = true; });
	item.append(link, document.createElement("br"), excerpt(section, words));
	return item;
}

function show() {
	const words = box.value.toLowerCase().split(/\s+/).filter(Boolean);
	const results = words.length ? search(box.value, words) : [];
	list.replaceChildren(...results.slice(0, shown).map((section) => entry(section, words)));
	list.hidden = !words.length;
	if (!results.length)
		list.textContent = "Nothing found.";
}

box.addEventListener("input", show);
box.value = new URLSearchParams(location.search).get("search") || "";
if (box.value)
	show();
if (matchMedia("(max-width: 60em)").matches)
	document.querySelector("nav details").removeAttribute("open");
