// Keeps the screen on. The lock is gone whenever the page is hidden, so it is taken again each time it is seen.

export class WakeLock {
    constructor(navigator, document) {
        this.navigator = navigator;
        this.document = document;
        this.isWanted = false;
        this.isAsking = false;
        this.lock = null;
        document.addEventListener('visibilitychange', () => this.take());
    }

    want(isWanted) {
        this.isWanted = isWanted;
        if (isWanted) this.take();
        else this.drop();
    }

    async take() {
        if (!this.isWanted || this.lock || this.isAsking || !this.navigator.wakeLock) return;
        if (this.document.visibilityState !== 'visible') return;
        this.isAsking = true; // two locks would be one too many to give back
        try {
            const lock = await this.navigator.wakeLock.request('screen');
            this.lock = lock;
            lock.addEventListener('release', () => {
                if (this.lock === lock) this.lock = null;
                this.take();
            });
            if (!this.isWanted) this.drop();
        } catch {
            // A phone that saves its battery refuses; the next time it is seen, it is asked again.
        }
        this.isAsking = false;
    }

    drop() {
        const lock = this.lock;
        this.lock = null;
        if (lock) lock.release().catch(() => {});
    }
}
