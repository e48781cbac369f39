#!/usr/bin/env node
// A real browser on the camera page, as a person's phone would be: opens the page in a headless Chromium and
// tells what the page shows. Writes one JSON object per line; each line on its standard input is something that
// the person does. It ends when that input ends.
//
//   camera_phone.mjs --url URL (--video FILE.y4m --audio FILE.wav | --stamped WxH) [--locale NAME]
//                    [--modules failing|unknown] [--pocket yes]
//
//   reload | click SELECTOR | see SELECTOR | choose SELECTOR VALUE | open URL | turn | end-camera | lock | unlock
//   tab URL | select NUMBER | survey LANGUAGE | picture FILE | mend-modules
//
// A phone that may be put into a pocket can be locked. What happens in the second tab has ".2" behind the names of its events.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import readline from 'node:readline';
import { parseArgs } from 'node:util';

import { survey } from './page_survey.mjs';
import { PageTab } from './page_tab.mjs';
import { launchPocketChromium } from './pocket_chromium.mjs';

const require = createRequire(new URL('../browser/', import.meta.url));
const { launchChromium } = require('./chromium.js');

const kUpright = { width: 390, height: 844 };
const kSideways = { width: 844, height: 390 };
const kPageScript = '**/page/page.js';

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
            modules: { type: 'string', default: '' },
            pocket: { type: 'string', default: '' },
            locale: { type: 'string', default: 'en-US' },
        },
    });
    if (!values.url) throw new Error('--url is needed');
    return values;
}

// What a browser runs before the page's own scripts.
function readScripts({ stamped, modules }) {
    const read = (name) => readFileSync(new URL(name, import.meta.url), 'utf8');
    const scripts = [];
    if (stamped) {
        const [width, height] = stamped.split('x').map(Number);
        const options = JSON.stringify({ width, height });
        scripts.push(`${read('stamped_camera.js')}\nuseStampedCamera(${options});`);
    }
    if (modules === 'unknown') scripts.push('delete HTMLScriptElement.prototype.noModule;');
    scripts.push(read('page_watch.js'));
    return scripts;
}

class CameraPhone {
    constructor(options) {
        this.options = options;
        this.ending = false;
        this.tabs = [];
    }

    async run() {
        if (this.options.pocket) await this.launchForPockets();
        else await this.launch();
        this.browser.on('disconnected', () => this.end(1));
        await this.spoilModules();
        await this.openTab(this.options.url);
    }

    async launch() {
        this.browser = await launchChromium({ video: this.options.video, audio: this.options.audio });
        this.close = () => this.browser.close();
        this.context = await this.browser.newContext({
            ignoreHTTPSErrors: true,
            viewport: kUpright,
            isMobile: true,
            hasTouch: true,
            locale: this.options.locale,
            permissions: ['camera', 'microphone'],
        });
    }

    async launchForPockets() {
        Object.assign(this, await launchPocketChromium());
    }

    async openTab(url) {
        this.tab = new PageTab({
            page: await this.context.newPage(),
            suffix: this.tabs.length === 0 ? '' : `.${this.tabs.length + 1}`,
            origin: new URL(this.options.url).origin,
            isStamped: Boolean(this.options.stamped),
            say,
        });
        this.tabs.push(this.tab);
        await this.tab.prepare(readScripts(this.options));
        await this.tab.open(url);
    }

    // A browser that the page's modules do not run in.
    async spoilModules() {
        const { modules } = this.options;
        if (modules === 'failing') {
            const body = 'throw new Error("this browser does not know that");';
            await this.context.route(kPageScript, (route) => route.fulfill({ contentType: 'text/javascript', body }));
        }
        if (modules === 'unknown') await this.context.route(kPageScript, (route) => route.abort());
    }

    async do(line) {
        const [command, ...words] = line.trim().split(' ');
        const { tab } = this;
        switch (command) {
            case 'reload':
                await tab.reload();
                break;
            case 'click':
                await tab.page.click(words[0]);
                break;
            case 'choose':
                await tab.page.selectOption(words[0], words[1]);
                break;
            case 'open':
                await tab.open(words[0]);
                break;
            case 'see':
                await tab.page.waitForSelector(words.join(' '));
                break;
            case 'turn':
                await tab.page.setViewportSize(kSideways);
                await tab.page.evaluate(() => turnStampedCamera());
                break;
            case 'end-camera':
                await tab.page.evaluate(() => endStampedCamera());
                break;
            case 'lock':
                await tab.lock();
                break;
            case 'unlock':
                await tab.unlock();
                break;
            case 'tab':
                await this.openTab(words[0]);
                break;
            case 'select':
                this.tab = this.tabs[Number(words[0]) - 1];
                await this.tab.page.bringToFront();
                break;
            case 'survey':
                tab.say({ event: 'survey', ...(await survey(tab.page, words[0])) });
                break;
            case 'picture':
                await tab.page.screenshot({ path: words[0] });
                break;
            case 'mend-modules':
                await this.context.unroute(kPageScript);
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
        await this.close?.().catch(() => {});
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
