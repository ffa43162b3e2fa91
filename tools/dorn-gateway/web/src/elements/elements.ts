// The elements by what an object is on a screen.

import type { DialogElement } from "../page";
import type { Widget } from "../vocabulary";
import { ButtonElement } from "./button";
import { CheckElement } from "./check";
import { ComboElement, ListElement } from "./choice";
import { EditElement } from "./edit";
import { GridElement } from "./grid";
import { GroupElement } from "./group";
import { ImageElement } from "./image";
import { LabelElement } from "./label";
import { RadioElement } from "./radio";
import { SliderElement } from "./slider";

const kElements: Readonly<Record<Widget, new () => DialogElement>> = {
  label: LabelElement,
  button: ButtonElement,
  edit: EditElement,
  check: CheckElement,
  slider: SliderElement,
  list: ListElement,
  combo: ComboElement,
  image: ImageElement,
  radio: RadioElement,
  group: GroupElement,
  grid: GridElement,
};

export function defineElements(): void {
  for (const [widget, element] of Object.entries(kElements)) {
    customElements.define(`dorn-${widget}`, element);
  }
}
