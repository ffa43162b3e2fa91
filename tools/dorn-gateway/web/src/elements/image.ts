// IMAGE: a picture of the host.

import type { Item } from "../screen";
import { ObjectElement } from "./object";
import { PictureView } from "./picture";

export class ImageElement extends ObjectElement {
  private readonly picture = new PictureView();

  protected build(): void {
    this.picture.element.dataset["part"] = "value";
    this.append(this.picture.element, this.makeCaption());
  }

  protected patch(item: Item): void {
    // What updates set is the Value as well as the Image.
    this.picture.show({ ...item, image: item.image || item.raw }, this.page);
  }
}
