#!/usr/bin/env node
// Headless Chromium as the receiver: chromium_receiver.js --modules DIR ADDRESS...
// Takes the same commands as the other receivers (Commands.h) and answers with the same lines. DIR holds the
// node packages of the browser phone.
'use strict';

const fs = require('node:fs');
const http = require('node:http');
const path = require('node:path');
const readline = require('node:readline');
const { createRequire } = require('node:module');
const { parseArgs } = require('node:util');

const kPatienceMs = 60000;
const kClockReadings = 50;
// A host gets every picture in its full size, and so the page shows every picture in its full size.
const kPicture = { width: 1920, height: 1080 };

function say(event) {
    process.stdout.write(`${JSON.stringify(event)}\n`);
}

function servePage() {
    const files = {
        '/': ['chromium_receiver.html', 'text/html'],
        '/chromium_receiver_page.js': ['chromium_receiver_page.js', 'text/javascript'],
    };
    const server = http.createServer((request, response) => {
        const found = files[request.url];
        if (!found) {
            response.writeHead(404).end();
            return;
        }
        response.writeHead(200, { 'content-type': found[1] });
        fs.createReadStream(path.join(__dirname, found[0])).pipe(response);
    });
    return new Promise((resolve) => {
        server.listen(0, '127.0.0.1', () => resolve(server));
    });
}

function launch(chromium, executablePath) {
    return chromium.launch({
        executablePath,
        headless: true,
        chromiumSandbox: false,
        args: [
            '--autoplay-policy=no-user-gesture-required',
            '--allow-loopback-in-peer-connection',
            '--disable-features=WebRtcHideLocalIpsWithMdns,LocalNetworkAccessChecks',
            '--disable-gpu',
            '--no-first-run',
            '--disable-background-networking',
            '--disable-component-update',
            '--disable-sync',
            '--no-pings',
        ],
    });
}

// What to add to the page's clock to get the system's monotonic one, which the phone stamps with: from the
// quickest of many readings.
async function clockOffsetMs(page) {
    let best = { tookMs: Infinity, offsetMs: 0 };
    for (let reading = 0; reading < kClockReadings; reading += 1) {
        const before = Number(process.hrtime.bigint()) / 1e6;
        const pageMs = await page.evaluate(() => performance.now());
        const tookMs = Number(process.hrtime.bigint()) / 1e6 - before;
        if (tookMs < best.tookMs) best = { tookMs, offsetMs: before + tookMs / 2 - pageMs };
    }
    return best.offsetMs;
}

function percentiles(values) {
    if (values.length === 0) return null;
    const sorted = [...values].sort((left, right) => left - right);
    const at = (share) => sorted[Math.max(Math.ceil(share * sorted.length), 1) - 1];
    return { p50: at(0.5), p99: at(0.99), max: sorted[sorted.length - 1] };
}

async function run() {
    const { values, positionals } = parseArgs({
        options: {
            modules: { type: 'string' },
            chromium: { type: 'string', default: '/usr/bin/chromium' },
        },
        allowPositionals: true,
    });
    const { chromium } = createRequire(path.join(path.resolve(values.modules), 'any.js'))('playwright-core');
    const browser = await launch(chromium, values.chromium);
    process.stdin.on('end', () => browser.close().then(() => process.exit(0)));
    const server = await servePage();
    const columns = Math.ceil(Math.sqrt(positionals.length));
    const rows = Math.ceil(positionals.length / columns);
    const viewport = { width: columns * kPicture.width, height: rows * kPicture.height };
    const page = await browser.newPage({ viewport });
    page.on('pageerror', (error) => say({ event: 'trouble', text: String(error) }));
    await page.exposeFunction('report', (text) => say({ event: 'trouble', text }));
    await page.goto(`http://127.0.0.1:${server.address().port}/`);
    await page.evaluate((values) => Receivers.open(...values), [positionals, columns, kPicture.width]);
    await page.waitForFunction(() => Receivers.allShow(), null, { timeout: kPatienceMs, polling: 100 });
    const offsetMs = await clockOffsetMs(page);
    say({ event: 'ready', version: browser.version() });

    for await (const line of readline.createInterface({ input: process.stdin })) {
        if (line.startsWith('begin'))
            await page.evaluate(([stamps, offset]) => Receivers.begin(stamps, offset), [line === 'begin stamps', offsetMs]);
        if (line === 'end') {
            const streams = await page.evaluate(() => Receivers.end());
            const latencyMs = percentiles(streams.flatMap((stream) => stream.latenciesMs));
            for (const stream of streams) delete stream.latenciesMs;
            say({ event: 'result', streams, latencyMs });
        }
    }
}

run().catch((error) => {
    say({ event: 'trouble', text: String(error) });
    process.exit(1);
});
