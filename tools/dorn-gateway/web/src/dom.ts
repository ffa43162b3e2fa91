// What building elements needs. Texts of hosts become text nodes and attributes, never markup.

// Of longer ones a browser lays out a megabyte a second, each time anew.
const kMostShown = 20_000;

/** As much of a text as is drawn. */
export const shownText = (text: string): string =>
  text.length > kMostShown ? `${text.slice(0, kMostShown)} …` : text;

export function make<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  className = "",
  text = "",
): HTMLElementTagNameMap[K] {
  const element = document.createElement(tag);
  if (className !== "") element.className = className;
  if (text !== "") element.textContent = shownText(text);
  return element;
}

export function makeButton(
  className: string,
  text: string,
  onClick: () => void,
): HTMLButtonElement {
  const button = make("button", className, text);
  button.type = "button";
  button.addEventListener("click", onClick);
  return button;
}

export function makeSvg<K extends keyof SVGElementTagNameMap>(
  tag: K,
  attributes: Readonly<Record<string, string>> = {},
): SVGElementTagNameMap[K] {
  const element = document.createElementNS("http://www.w3.org/2000/svg", tag);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  return element;
}

/** Touches the document only where something is different. */
export function setText(element: Element, whole: string): void {
  const text = shownText(whole);
  const node = element.firstChild;
  if (node instanceof Text && node === element.lastChild) {
    if (node.data !== text) node.data = text;
  } else if (text !== "" || node) {
    element.textContent = text;
  }
}

/** Null removes the attribute. */
export function setAttribute(element: Element, name: string, value: string | null): void {
  if (element.getAttribute(name) === value) return;
  if (value === null) element.removeAttribute(name);
  else element.setAttribute(name, value);
}

export function setFlag(element: Element, name: string, isSet: boolean): void {
  setAttribute(element, name, isSet ? "" : null);
}

let ids = 0;

/** An id that no other element has. */
export const newId = (): string => `i${++ids}`;
