// A dialog's objects as this page holds them.

import { isObject, Json, JsonObject, memberList, memberText, textOf } from "./json";

/** What has to be drawn anew: everything, or the objects of these names. */
export class Changes {
  all = false;
  isAwaited = false; // By the user, who has touched something.
  readonly names = new Set<string>();

  clear(): void {
    this.all = this.isAwaited = false;
    this.names.clear();
  }
}

/** Of these the places of other objects depend. */
const kStructure = new Set(["Type", "Layout", "Order", "X", "Y", "W", "H", "Wide", "Break"]);

const isChildrenKey = (key: string): boolean => key === "Objects" || key === "Object";

/**
 * The children lie in the order in which the page got them; an ADD does not say where among their
 * siblings its objects stand.
 */
export class TreeObject {
  name = "";
  readonly attributes = new Map<string, Json>();
  children: TreeObject[] = [];

  constructor(public parent: TreeObject | null) {}

  textOf(key: string): string {
    return textOf(this.attributes.get(key));
  }

  get isGroup(): boolean {
    return this.textOf("Type") === "GROUP";
  }

  append(): TreeObject {
    const child = new TreeObject(this);
    this.children.push(child);
    return child;
  }

  setAttributes(json: JsonObject): void {
    for (const [key, value] of Object.entries(json)) {
      if (!isChildrenKey(key) && value !== null) this.attributes.set(key, value);
    }
    this.name = this.textOf("Name");
  }

  isWithin(ancestor: TreeObject): boolean {
    for (let each: TreeObject | null = this; each; each = each.parent) {
      if (each === ancestor) return true;
    }
    return false;
  }
}

/** Whether this is a grid's table: an array of arrays. */
export function isTable(json: Json | undefined): json is Json[][] {
  return Array.isArray(json) && json.every((row) => Array.isArray(row));
}

/** The children of a group in a file, for which hosts know four ways. */
function childrenInFile(json: JsonObject): Json[] {
  for (const list of [json["Objects"], json["Commands"]]) {
    if (Array.isArray(list)) return list;
  }
  const single = [json["Object"], json["Dialog"]].find(isObject);
  return single ? [single] : [];
}

/**
 * From their memory hosts write "Objects", and the other three are attributes. Of a file they read
 * the children of groups alone: what else has "Objects" there has no children at the host either.
 */
function childrenOf(json: JsonObject, isGroup: boolean, isFile: boolean): Json[] {
  if (isFile) return isGroup ? childrenInFile(json) : [];
  return memberList(json, "Objects");
}

function build(object: TreeObject, json: JsonObject, isFile: boolean): void {
  object.setAttributes(json);
  const isGroup = object.parent === null || object.isGroup;
  for (const child of childrenOf(json, isGroup, isFile)) {
    if (isObject(child)) build(object.append(), child, isFile);
  }
}

const isDialog = (json: Json): json is JsonObject => memberText(json, "Command") === "DIALOG";

export class Tree {
  readonly root = new TreeObject(null);
  // New objects are entered; after objects were taken out, the next one who asks rebuilds it. Null
  // in it: it must be rebuilt to tell which of several is the first.
  private byName: Map<string, TreeObject | null> | null = null;
  private readonly shared = new Set<string>(); // Names of several objects, as far as byName knows.
  // Objects that an ADD moves stay among the children of these ones until it ends.
  private readonly left = new Set<TreeObject>();

  /** The tree that a host sends of a dialog it runs. */
  static fromLive(json: JsonObject): Tree {
    const tree = new Tree();
    build(tree.root, json, false);
    return tree;
  }

  /** The dialog of a resource file in either of its forms; null when the file holds none. */
  static fromFile(json: JsonObject): Tree | null {
    const commands = memberList(json, "Commands");
    const dialog = commands.length > 0 ? commands.find(isDialog) : [json].find(isDialog);
    if (!dialog) return null;
    const tree = new Tree();
    build(tree.root, dialog, true);
    return tree;
  }

  /** No file to go by: the objects of `updates` below a root of this name. */
  static flat(name: string, updates: readonly JsonObject[]): Tree {
    const tree = new Tree();
    tree.root.setAttributes({ Name: name });
    for (const json of updates.flatMap((update) => memberList(update, "Objects"))) {
      const child = memberText(json, "Name");
      if (!isObject(json) || child === "") continue;
      const object = tree.find(child);
      if (!object || object === tree.root) tree.appendTo(tree.root, json);
      else object.setAttributes(json);
    }
    return tree;
  }

  /** The first of this name, depth first. The root answers to the name of the resource. */
  find(name: string): TreeObject | undefined {
    const known = this.byName?.get(name);
    if (this.byName && known !== null) return known;
    const byName = new Map<string, TreeObject>();
    this.shared.clear();
    this.index(this.root, byName);
    this.byName = byName;
    return byName.get(name);
  }

  private index(object: TreeObject, byName: Map<string, TreeObject>): void {
    if (byName.has(object.name)) this.shared.add(object.name);
    else byName.set(object.name, object);
    for (const child of object.children) {
      if (child.parent === object) this.index(child, byName);
    }
  }

  /**
   * A host adds thousands of objects at once, and each is looked for. Those without a name are not:
   * which of them comes first stays open until somebody asks. Nothing comes before the root.
   */
  private appendTo(parent: TreeObject, json: JsonObject): TreeObject {
    const object = parent.append();
    object.setAttributes(json);
    const known = this.byName?.get(object.name);
    if (known === undefined) {
      this.byName?.set(object.name, object);
    } else {
      this.shared.add(object.name);
      if (known !== this.root) this.byName?.set(object.name, null);
    }
    return object;
  }

  /** A host may move thousands at once: those who keep their places close up when all have gone. */
  private move(object: TreeObject, parent: TreeObject): void {
    if (object.parent) this.left.add(object.parent);
    if (this.left.has(parent)) this.closeUp(parent);
    object.parent = parent;
    parent.children.push(object);
    this.moved(object);
  }

  /** Whoever has a name of his own is still the first of that name. */
  private moved(object: TreeObject): void {
    if (this.shared.has(object.name) && this.byName?.get(object.name) !== this.root) {
      this.byName?.set(object.name, null);
    }
    for (const child of object.children) {
      if (child.parent === object) this.moved(child);
    }
  }

  private closeUp(parent: TreeObject): void {
    parent.children = parent.children.filter((each) => each.parent === parent);
    this.left.delete(parent);
  }

  /**
   * Sets attributes of objects that are there. True when a grid tells that its table has changed
   * and does not send it: then the tree must be fetched again.
   */
  update(command: JsonObject, changes: Changes): boolean {
    let wantsAll = false;
    for (const json of memberList(command, "Objects")) {
      const name = memberText(json, "Name");
      const object = name === "" ? undefined : this.find(name);
      if (object && isObject(json)) wantsAll = this.updateObject(object, json, changes) || wantsAll;
    }
    return wantsAll;
  }

  private updateObject(object: TreeObject, json: JsonObject, changes: Changes): boolean {
    const isGrid = object.textOf("Type") === "GRID";
    const members = Object.entries(json);
    let lacksTable = isGrid && members.length === 1;
    // An empty group may still be the tab of another.
    let reshapes = object.isGroup || object.children.length > 0 || object.parent === null;
    for (const [key, value] of members) {
      if (key === "Name" || isChildrenKey(key)) continue;
      if (isGrid && key === "Data" && !isTable(value)) {
        lacksTable = true; // The plain attribute beside the table, or nothing at all.
      } else if (value !== null) {
        object.attributes.set(key, value);
        reshapes ||= kStructure.has(key);
      }
    }
    changes.all ||= reshapes;
    changes.names.add(object.name);
    return lacksTable && !isTable(json["Data"]) && !isTable(object.attributes.get("Rows"));
  }

  /**
   * Merges by name below the group that the command names. True when a group came without
   * children: those that it had before it was added are not sent.
   */
  add(command: JsonObject): boolean {
    const group = this.find(memberText(command, "Name"));
    if (!group) return false;
    const wantsAll = this.mergeAll(memberList(command, "Objects"), group);
    for (const parent of [...this.left]) this.closeUp(parent);
    return wantsAll;
  }

  private mergeAll(list: readonly Json[], parent: TreeObject): boolean {
    let wantsAll = false;
    for (const json of list) {
      if (isObject(json)) wantsAll = this.merge(json, parent) || wantsAll;
    }
    return wantsAll;
  }

  /**
   * An object that is there already stays: a group that got new children is marked as added
   * itself, and so is told again inside the ADD of its own group, with its new children alone.
   */
  private merge(json: JsonObject, parent: TreeObject): boolean {
    const name = memberText(json, "Name");
    let object = name === "" ? undefined : this.find(name);
    const isNew = !object || object === this.root;
    if (!object || isNew) {
      object = this.appendTo(parent, json);
    } else {
      if (object.parent !== parent && !parent.isWithin(object)) this.move(object, parent);
      object.setAttributes(json); // The name stays: the object was found by it.
    }
    const children = memberList(json, "Objects");
    const mayLackChildren = isNew && object.isGroup && children.length === 0;
    return this.mergeAll(children, object) || mayLackChildren;
  }

  delete(command: JsonObject): void {
    const object = this.find(memberText(command, "Name"));
    if (!object) return;
    const what = memberText(command, "Delete");
    if (what === "CHILD") object.children = [];
    if (what === "THIS") this.takeFromParent(object);
    this.byName = null;
  }

  private takeFromParent(object: TreeObject): void {
    if (!object.parent) return;
    object.parent.children = object.parent.children.filter((each) => each !== object);
  }
}
