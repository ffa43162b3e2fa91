import assert from "node:assert/strict";
import { test } from "node:test";

import type { JsonObject } from "../src/json";
import { Tree, TreeObject } from "../src/tree";

const names = ["", "d", "a", "b", "c", "e", "f", "g", "h", "i", "j", "k", "l", "m"];

function firstOf(object: TreeObject, name: string): TreeObject | undefined {
  if (object.name === name) return object;
  for (const child of object.children) {
    const found = firstOf(child, name);
    if (found) return found;
  }
  return undefined;
}

/** Commands as they come, with names that are there twice, that are the root's or missing. */
class Chance {
  constructor(private state: number) {}

  below(count: number): number {
    this.state = (Math.imul(this.state, 1103515245) + 12345) >>> 0;
    return (this.state >>> 8) % count;
  }
  named(members: JsonObject): JsonObject {
    const name = names[this.below(names.length)]!;
    return name === "" ? members : { Name: name, ...members };
  }
  objects(depth: number): JsonObject[] {
    return Array.from({ length: this.below(4) }, () => {
      const group = this.named({ Type: "GROUP" });
      return depth < 3 ? { ...group, Objects: this.objects(depth + 1) } : group;
    });
  }
}

test("tree: the first of a name is found whatever came before", () => {
  for (let seed = 0; seed < 300; ++seed) {
    const chance = new Chance(seed);
    const tree = Tree.fromLive({ Name: "d", Objects: chance.objects(0) });
    for (let step = 0; step < 12; ++step) {
      if (chance.below(4) === 0) {
        tree.delete(chance.named({ Delete: chance.below(3) === 0 ? "CHILD" : "THIS" }));
      } else {
        tree.add(chance.named({ Objects: chance.objects(1) }));
      }
      if (chance.below(3) === 0) continue; // Nobody has looked in between.
      for (const name of names) {
        const isFirst = tree.find(name) === firstOf(tree.root, name);
        assert.ok(isFirst, `seed ${seed} step ${step} name '${name}'`);
      }
    }
  }
});

/** The best of a few. */
function secondsOf(act: () => void): number {
  const times = Array.from({ length: 5 }, () => {
    const before = process.cpuUsage();
    act();
    const { user, system } = process.cpuUsage(before);
    return (user + system) / 1e6;
  });
  return Math.min(...times);
}

/** Every second one without a name if they are mixed. */
function objects(count: number, isMixed: boolean): JsonObject[] {
  return Array.from({ length: count }, (_, i): JsonObject => {
    return isMixed && i % 2 === 1 ? {} : { Name: `n${i}` };
  });
}

// 32 times as many objects take 32 times as long, and 1,024 times if each is paid for by all. The rest
// is for what else the process does meanwhile, such as collecting garbage.
const kFew = 1000;
const kMany = 32 * kFew;
const kMostGrowth = 256;

function checkGrowth(act: (list: JsonObject[]) => Tree, isMixed: boolean): void {
  const secondsFor = (count: number) => {
    const list = objects(count, isMixed);
    return secondsOf(() => assert.ok(act(list).find("n0")));
  };
  secondsFor(kMany / 4); // Compiled by now.
  const few = secondsFor(kFew);
  assert.ok(secondsFor(kMany) < kMostGrowth * few);
}

for (const isMixed of [false, true]) {
  test(`tree: adding takes time that grows with the objects alone, unnamed: ${isMixed}`, () => {
    checkGrowth((list) => {
      const group = { Name: "g", Type: "GROUP" };
      const tree = Tree.fromLive({ Name: "d", Objects: [group, { Type: "LABEL" }] });
      tree.add({ Name: "g", Objects: list });
      tree.add({ Name: "g", Objects: list.filter((each) => "Name" in each) });
      return tree;
    }, isMixed);
  });
}

test("tree: making one of updates takes time that grows with the objects alone", () => {
  checkGrowth((list) => Tree.flat("d", [{ Objects: list }]), false);
});

const twoGroups = (list: JsonObject[]): Tree =>
  Tree.fromLive({
    Name: "d",
    Objects: [
      { Name: "a", Type: "GROUP", Objects: list },
      { Name: "b", Type: "GROUP" },
    ],
  });

test("tree: moving to another group takes time that grows with the objects alone", () => {
  const secondsFor = (count: number): number => {
    const list = objects(count, false);
    const tree = twoGroups(list);
    return secondsOf(() => {
      tree.add({ Name: "b", Objects: list });
      assert.equal(tree.find("b")?.children.length, count);
      tree.add({ Name: "a", Objects: list });
      assert.equal(tree.find("b")?.children.length, 0);
    });
  };
  secondsFor(kMany / 4); // Compiled by now.
  const few = secondsFor(kFew);
  assert.ok(secondsFor(kMany) < kMostGrowth * few);
});

const namesIn = (tree: Tree, group: string): string =>
  (tree.find(group)?.children ?? []).map(({ name }) => name).join(" ");

test("tree: what is moved may come back, and leaves the others in their order", () => {
  const tree = twoGroups(objects(6, false));
  tree.add({ Name: "b", Objects: [{ Name: "n4" }, { Name: "n1" }, { Name: "n4" }] });
  assert.equal(namesIn(tree, "a"), "n0 n2 n3 n5");
  const there = { Name: "b", Objects: [{ Name: "n2" }, { Name: "n3" }] };
  tree.add({ Name: "d", Objects: [there, { Name: "a", Objects: [{ Name: "n2" }] }] });
  assert.equal(namesIn(tree, "a"), "n0 n5 n2");
  assert.equal(namesIn(tree, "b"), "n4 n1 n3");
  assert.equal(tree.find("n2")?.parent, tree.find("a"));
});
