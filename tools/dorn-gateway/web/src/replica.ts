// What this page knows of the dialog that it shows: the tree as the host sent it, and what the user
// has changed and the host has not yet confirmed.
//
//   entering   the fence `?f1`, the CHANGE and the GETFILE run in one piece at the host. What comes
//              before the answer to ?f1 belongs to the old dialog; what comes between it and the
//              file is kept and goes over the file's tree, UPDATEs alone.
//   acting     a change travels between two fences a and b. Until a, what others have set of the
//              same attributes is older than ours at the host; between a and b the host corrects
//              us.

import { Json, JsonObject, memberList, memberText, textOf } from "./json";
import { Changes, Tree, TreeObject } from "./tree";

/**
 * empty: no dialog was entered yet. fence: entering, what comes belongs to what was shown before.
 * buffer: entering, what comes is kept for the tree that follows. live: showing the dialog.
 * nothing: there is no such dialog, or it has nothing to show.
 */
export type ReplicaState = "empty" | "fence" | "buffer" | "live" | "nothing";

/** What is set of one object; no attributes: it is touched by its name alone. */
export interface SetObject {
  readonly name: string;
  readonly attributes: Readonly<Record<string, Json>>;
}

const kMostBuffered = 200_000;

interface Change {
  readonly name: string;
  readonly key: string;
  readonly value: Json;
  readonly onlyIfOn: boolean; // Switches off a radio button; one that is not on stays as it is.
}

interface Action {
  readonly before: number;
  readonly after: number;
  isOurs: boolean; // The fence before it has been answered: the host's tree has it.
  readonly names: readonly string[];
  readonly changes: readonly Change[];
}

const isOn = (json: Json | undefined): boolean => textOf(json) === "ON";

const isRadioButton = (object: TreeObject): boolean => object.textOf("Type") === "RADIOBTN";

const isRadioGroup = (object: TreeObject): boolean =>
  object.isGroup && object.textOf("Layout") === "RADIO";

/** Whether a PUTFILE's date is that of a live tree: its year has two digits. */
export const isLiveDate = (date: string): boolean => date.indexOf("-") === 2;

export class Replica {
  state: ReplicaState = "empty";
  dialog = "";
  tree = new Tree();
  readonly changes = new Changes();

  private fence: number | null = null;
  private shown = { state: "empty" as ReplicaState, dialog: "" }; // Before the entries under way.
  private buffer: JsonObject[] = [];
  private buffered = 0; // Objects in it.
  private actions: Action[] = [];
  private wantsEntry = false;

  /**
   * Enters a dialog, or the same one again. Without a fence everything that comes is the new
   * dialog's, as on a new connection.
   */
  enter(dialog: string, fence: number | null): void {
    if (this.state !== "fence" && this.state !== "buffer") {
      this.shown = { state: this.state, dialog: this.dialog };
    }
    this.dialog = dialog;
    this.fence = fence;
    this.state = fence === null ? "buffer" : "fence";
    this.buffer = [];
    this.buffered = 0;
    this.wantsEntry = false;
  }

  /** The host does not get to know of the entry: what is shown goes on. */
  leaveEntry(): void {
    if (this.state !== "fence" && this.state !== "buffer") return;
    for (const update of this.buffer) this.tree.update(update, this.changes);
    this.buffer = [];
    ({ state: this.state, dialog: this.dialog } = this.shown);
  }

  /** One command of the host: UPDATE, ADD and DELETE; all others are ignored. */
  receive(command: JsonObject): void {
    if (this.state !== "buffer") {
      this.apply(command);
    } else if (memberText(command, "Command") === "UPDATE") {
      // The tree that follows is newer than what was added and deleted before it.
      this.buffer.push(command);
      this.buffered += 1 + memberList(command, "Objects").length;
    }
  }

  /** The host goes on telling what has changed, and never tells of what. */
  get isFlooded(): boolean {
    return this.state === "buffer" && this.buffered > kMostBuffered;
  }

  private apply(command: JsonObject): void {
    let wantsEntry = false;
    switch (memberText(command, "Command")) {
      case "UPDATE":
        wantsEntry = this.tree.update(command, this.changes);
        break;
      case "ADD":
        wantsEntry = this.tree.add(command);
        this.changes.all = true;
        break;
      case "DELETE":
        this.tree.delete(command);
        this.changes.all = true;
        break;
    }
    this.wantsEntry ||= wantsEntry && this.state === "live";
  }

  /** The answer to a fence. Fences are numbered upwards. */
  receiveFence(fence: number): void {
    if (this.state === "fence" && this.fence !== null && fence >= this.fence) this.state = "buffer";
    if (this.actions.length === 0) return;
    for (const action of this.actions) {
      if (fence < action.before || action.isOurs) continue;
      action.isOurs = true;
      this.settle(action);
    }
    this.endActions((action) => fence >= action.after);
  }

  /** From here on what the host holds is ours, until it says otherwise. */
  private settle(action: Action): void {
    for (const change of action.changes) {
      const object = this.tree.find(change.name);
      if (!object || (change.onlyIfOn && !isOn(object.attributes.get(change.key)))) continue;
      object.attributes.set(change.key, change.value);
    }
  }

  /** The file of the dialog, live from the host's memory or from its disk. */
  receiveTree(json: JsonObject, isLive: boolean): void {
    if (this.state !== "buffer") return;
    const tree = isLive ? Tree.fromLive(json) : Tree.fromFile(json);
    if (tree) {
      this.becomeLive(tree);
    } else {
      this.receiveNoTree();
    }
  }

  /** There is no such file: what was buffered is all there is. */
  receiveNoTree(): void {
    if (this.state !== "buffer") return;
    const flat = Tree.flat(this.dialog, this.buffer);
    this.becomeLive(flat);
    if (flat.root.children.length === 0) this.state = "nothing";
  }

  private becomeLive(tree: Tree): void {
    this.tree = tree;
    this.state = "live";
    this.changes.all = true;
    // What is told here is in the tree, or in no file: entering again would find the same.
    for (const update of this.buffer) tree.update(update, this.changes);
    this.buffer = [];
  }

  /**
   * The user sets attributes, or touches an object by naming it alone; the change goes to the host
   * between these fences. Choosing a radio button switches its siblings off as the host will.
   */
  act(objects: readonly SetObject[], before: number, after: number): void {
    const changes = objects.flatMap((object) =>
      Object.entries(object.attributes).flatMap(([key, value]) =>
        this.changesOf(object.name, key, value),
      ),
    );
    const names = objects.map((object) => object.name);
    this.actions.push({ before, after, isOurs: false, names, changes });
    this.markChanged(this.actions.slice(-1));
  }

  private changesOf(name: string, key: string, value: Json): Change[] {
    const own = { name, key, value, onlyIfOn: false };
    const object = this.tree.find(name);
    const chooses =
      object !== undefined && isRadioButton(object) && isOn(value) && /^(Attr|Value)$/.test(key);
    if (!chooses || !object.parent || !isRadioGroup(object.parent)) return [own];
    const siblings = object.parent.children.filter((each) => each !== object);
    const off = siblings.filter(isRadioButton).map((each) => {
      return { name: each.name, key: "Attr", value: "OFF", onlyIfOn: true };
    });
    return [...off, own];
  }

  /** The line is gone, and nothing will be confirmed any more. */
  forgetActions(): void {
    this.endActions(() => true);
  }

  /** The text with this action was not sent on. */
  takeBack(after: number): void {
    this.endActions((action) => action.after === after);
  }

  private endActions(isOver: (action: Action) => boolean): void {
    const over = this.actions.filter(isOver);
    if (over.length === 0) return;
    this.actions = this.actions.filter((action) => !isOver(action));
    this.markChanged(over);
  }

  private markChanged(actions: readonly Action[]): void {
    this.changes.isAwaited = true;
    for (const action of actions) {
      for (const name of action.names) this.changes.names.add(name);
      for (const change of action.changes) this.changes.names.add(change.name);
    }
  }

  /** All attributes as they are to be shown, what is pending among them. */
  shownAttributes(object: TreeObject): ReadonlyMap<string, Json> {
    let shown = object.attributes;
    for (const action of this.actions) {
      if (action.isOurs) continue;
      for (const change of action.changes) {
        if (change.name !== object.name) continue;
        if (change.onlyIfOn && !isOn(shown.get(change.key))) continue;
        if (shown === object.attributes) shown = new Map(shown);
        shown.set(change.key, change.value);
      }
    }
    return shown;
  }

  isPending(name: string): boolean {
    return this.actions.some((action) => action.names.includes(name));
  }

  /** Whether the dialog must be entered again to see what the host did not send. Asking forgets. */
  takeWantsEntry(): boolean {
    const wants = this.wantsEntry;
    this.wantsEntry = false;
    return wants;
  }
}
