// A file of the host as a picture, or as something to keep when it is none.

import { make, setText } from "../dom";
import type { Page } from "../page";
import type { Item } from "../screen";

export class PictureView {
  readonly element = make("span", "picture");
  private shown: string | null | undefined;
  private file = "";

  show(item: Item, page: Page): void {
    const picture = item.image === "" ? undefined : page.pictures.get(item.image);
    const url = picture?.url;
    const isSame = url === this.shown && item.image === this.file;
    if (picture && isSame) return this.showName(item);
    this.shown = url;
    this.file = item.image;
    this.element.replaceChildren();
    if (!picture) return;
    if (!url) {
      this.element.append(make("span", "missing", `${item.image}: ${page.texts.missing}`));
    } else if (picture.isImage) {
      const image = make("img");
      image.src = url;
      this.element.append(image);
    } else {
      const link = make("a", "file");
      link.href = url;
      link.download = item.image.slice(item.image.lastIndexOf("/") + 1);
      this.element.append(link);
    }
    this.showName(item);
  }

  private showName(item: Item): void {
    const child = this.element.firstElementChild;
    if (child instanceof HTMLImageElement) child.alt = item.caption;
    if (child instanceof HTMLAnchorElement) setText(child, item.caption);
  }
}
