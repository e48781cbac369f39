// The browser's storage, which private windows may refuse: then nothing is remembered.

export class SafeStorage {
    // `find()` returns the storage, or throws.
    constructor(find) {
        this.find = find;
    }

    get(key) {
        try {
            return this.find().getItem(key);
        } catch {
            return null;
        }
    }

    set(key, value) {
        try {
            this.find().setItem(key, value);
        } catch {
            // Remembered for this page only.
        }
    }
}
