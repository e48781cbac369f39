// A headless Chromium whose pages can be hidden: the usual way of starting one makes it believe that each page is
// always looked at.
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import path from 'node:path';

const { chromium } = createRequire(new URL('../browser/', import.meta.url))('playwright-core');

function whereItListens(child) {
    return new Promise((resolve, reject) => {
        let text = '';
        child.stderr.on('data', (piece) => {
            text += piece;
            const address = /ws:\/\/\S+/.exec(text);
            if (address) resolve(address[0]);
        });
        child.on('exit', () => reject(new Error(`the browser has ended: ${text}`)));
    });
}

// Resolves to its only context and close().
export async function launchPocketChromium() {
    const folder = mkdtempSync(path.join(tmpdir(), 'pocket-chromium-'));
    const child = spawn(
        '/usr/bin/chromium',
        [
            '--headless=new',
            '--no-sandbox',
            '--disable-gpu',
            '--disable-quic',
            '--no-first-run',
            '--disable-background-networking',
            '--disable-component-update',
            '--disable-sync',
            '--ignore-certificate-errors',
            '--use-fake-ui-for-media-stream',
            '--use-fake-device-for-media-stream',
            '--window-size=390,844',
            '--lang=en-US',
            '--remote-debugging-port=0',
            `--user-data-dir=${folder}`,
            'about:blank',
        ],
        { stdio: ['ignore', 'ignore', 'pipe'] },
    );
    const browser = await chromium.connectOverCDP(await whereItListens(child), { noDefaults: true });
    const ended = new Promise((resolve) => child.once('exit', resolve));
    return {
        browser,
        context: browser.contexts()[0],
        close: async () => {
            child.kill();
            await ended;
            rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
        },
    };
}
