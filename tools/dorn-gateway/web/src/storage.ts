// What the browser keeps for the page. Where it is forbidden, or full, texts live as long as the
// page does; using it never fails.

export type TextStorage = Pick<Storage, "getItem" | "setItem">;

/** Even asking for it may be forbidden. */
export function storageOf(find: () => TextStorage): TextStorage {
  const own = new Map<string, string>();
  return {
    getItem(key) {
      const text = own.get(key);
      if (text !== undefined) return text;
      try {
        return find().getItem(key);
      } catch {
        return null;
      }
    },
    setItem(key, text) {
      try {
        find().setItem(key, text);
        own.delete(key);
      } catch {
        own.set(key, text);
      }
    },
  };
}
