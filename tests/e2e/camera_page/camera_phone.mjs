#!/usr/bin/env node
// A real browser on the camera page, as a person's phone would be: opens the page in a headless Chromium and
// tells what the page shows. Writes one JSON object per line; each line on its standard input is something that
// the person does. It ends when that input ends.
//
//   camera_phone.mjs --url URL (--video FILE.y4m --audio FILE.wav | --stamped WxH) [--locale NAME]
//
//   reload | click SELECTOR | choose SELECTOR VALUE | open URL | turn | end-camera
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import readline from 'node:readline';
import { parseArgs } from 'node:util';

const require = createRequire(new URL('../browser/', import.meta.url));
const { launchChromium } = require('./chromium.js');

const kUpright = { width: 390, height: 844 };
const kSideways = { width: 844, height: 390 };

function say(event) {
    process.stdout.write(`${JSON.stringify(event)}\n`);
}

function readOptions() {
    const { values } = parseArgs({
        options: {
            url: { type: 'string' },
            video: { type: 'string' },
            audio: { type: 'string' },
            stamped: { type: 'string' },
            locale: { type: 'string', default: 'en-US' },
        },
    });
    if (!values.url) throw new Error('--url is needed');
    return values;
}

// Runs in the page: tells every change of the big display and of the problem, in the frame that shows it.
function watchPage() {
    addEventListener('DOMContentLoaded', () => {
        let told = '';
        const look = () => {
            const state = document.body.dataset.state;
            const problem = ['problem-text', 'pair-problem']
                .map((id) => document.getElementById(id)?.textContent ?? '')
                .join('');
            const watching = document.getElementById('watching')?.textContent ?? '';
            const url = location.href;
            const now = JSON.stringify({ state, problem, watching, url });
            if (now === told) return;
            told = now;
            requestAnimationFrame(() => {
                const atMs = performance.timeOrigin + performance.now();
                report({ event: 'state', state, problem, watching, url, atMs });
            });
        };
        new MutationObserver(look).observe(document.documentElement, {
            attributes: true,
            childList: true,
            characterData: true,
            subtree: true,
        });
        look();
    });
}

// The page's clock against the steady one of this machine, as exactly as a question and its answer allow.
async function clockOffsetMs(page) {
    let best = { trip: Infinity, offset: 0 };
    for (let round = 0; round < 30; round += 1) {
        const before = Number(process.hrtime.bigint()) / 1e6;
        const inPage = await page.evaluate(() => performance.timeOrigin + performance.now());
        const after = Number(process.hrtime.bigint()) / 1e6;
        if (after - before < best.trip) best = { trip: after - before, offset: (before + after) / 2 - inPage };
    }
    return best.offset;
}

class CameraPhone {
    constructor(options) {
        this.options = options;
        this.ending = false;
    }

    async run() {
        this.browser = await launchChromium({ video: this.options.video, audio: this.options.audio });
        this.browser.on('disconnected', () => this.end(1));
        const context = await this.browser.newContext({
            ignoreHTTPSErrors: true,
            viewport: kUpright,
            isMobile: true,
            hasTouch: true,
            locale: this.options.locale,
            permissions: ['camera', 'microphone'],
        });
        this.page = await context.newPage();
        this.listen();
        await this.page.exposeFunction('report', say);
        await this.page.addInitScript(watchPage);
        if (this.options.stamped) await this.useStampedCamera();
        await this.open(this.options.url);
    }

    // What should not happen on any page of ours.
    listen() {
        const origin = new URL(this.options.url).origin;
        this.page.on('pageerror', (error) => say({ event: 'trouble', text: String(error.stack ?? error) }));
        this.page.on('console', (message) => {
            if (/Content Security Policy|Refused to/.test(message.text())) {
                say({ event: 'trouble', text: message.text() });
            }
        });
        this.page.on('request', (request) => {
            const url = new URL(request.url());
            const isOwn = url.origin === origin || url.protocol === 'data:' || url.protocol === 'blob:';
            if (!isOwn) say({ event: 'outside', text: request.url() });
        });
        this.page.on('requestfailed', (request) => {
            const path = new URL(request.url()).pathname;
            if (path.startsWith('/page/')) say({ event: 'trouble', text: `${path}: ${request.failure()?.errorText}` });
        });
        this.page.on('response', (response) => {
            const path = new URL(response.url()).pathname;
            if (path.startsWith('/page/') && response.status() >= 400) {
                say({ event: 'trouble', text: `${path}: ${response.status()}` });
            }
        });
        this.page.on('dialog', (dialog) => dialog.accept());
    }

    async useStampedCamera() {
        const [width, height] = this.options.stamped.split('x').map(Number);
        const script = readFileSync(new URL('stamped_camera.js', import.meta.url), 'utf8');
        await this.page.addInitScript(`${script}\nuseStampedCamera(${JSON.stringify({ width, height })});`);
    }

    async open(url) {
        say({ event: 'opening', atMs: Date.now() });
        await this.page.goto(url);
        await this.setClock();
        say({ event: 'opened', url: this.page.url() });
    }

    async setClock() {
        if (!this.options.stamped) return;
        const offsetMs = await clockOffsetMs(this.page);
        await this.page.evaluate((offset) => setStampOffset(offset), offsetMs);
        say({ event: 'clock', offsetMs });
    }

    async do(line) {
        const [command, ...words] = line.trim().split(' ');
        switch (command) {
            case 'reload':
                say({ event: 'opening', atMs: Date.now() });
                await this.page.reload();
                await this.setClock();
                break;
            case 'click':
                await this.page.click(words[0]);
                break;
            case 'choose':
                await this.page.selectOption(words[0], words[1]);
                break;
            case 'open':
                await this.open(words[0]);
                break;
            case 'turn':
                await this.page.setViewportSize(kSideways);
                await this.page.evaluate(() => turnStampedCamera());
                break;
            case 'end-camera':
                await this.page.evaluate(() => endStampedCamera());
                break;
            default:
                throw new Error(`"${command}" is not understood`);
        }
        say({ event: 'done', text: line });
    }

    tell(error) {
        if (!this.ending) say({ event: 'trouble', text: String(error.stack ?? error) });
    }

    async end(code) {
        if (this.ending) return;
        this.ending = true;
        if (this.browser) await this.browser.close().catch(() => {});
        process.exit(code);
    }
}

const phone = new CameraPhone(readOptions());
process.on('SIGINT', () => phone.end(0));
process.on('SIGTERM', () => phone.end(0));
let work = phone.run();
readline
    .createInterface({ input: process.stdin })
    .on('line', (line) => {
        work = work.then(() => phone.do(line)).catch((error) => phone.tell(error));
    })
    .on('close', () => phone.end(0));
work.catch((error) => {
    phone.tell(error);
    phone.end(1);
});
