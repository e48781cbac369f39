#!/usr/bin/env node
// A real browser as the phone: opens page.html in a headless Chromium whose camera and microphone are
// files, listens on ADDRESS:9001 as a phone does, and carries the texts between the host and the page.
// Writes one JSON object per line to standard output for whoever started it. "freeze" on its standard input
// takes the camera away; it ends when that input ends, or on SIGINT and SIGTERM.
//
//   browser_phone.js --listen ADDRESS --video FILE.y4m --audio FILE.wav [--codec NAME [--only]] [--size WxH] [--fps N]
'use strict';

const fs = require('node:fs');
const http = require('node:http');
const path = require('node:path');
const { parseArgs } = require('node:util');
const { WebSocketServer } = require('ws');
const { launchChromium } = require('./chromium.js');

const kPort = 9001;
const kIdentifier = 'browser-phone';

function say(event) {
    process.stdout.write(`${JSON.stringify(event)}\n`);
}

function readOptions() {
    const { values } = parseArgs({
        options: {
            listen: { type: 'string', default: '127.0.0.2' },
            video: { type: 'string' },
            audio: { type: 'string' },
            codec: { type: 'string', default: '' },
            only: { type: 'boolean', default: false },
            size: { type: 'string', default: '640x360' },
            fps: { type: 'string', default: '30' },
            chromium: { type: 'string', default: '/usr/bin/chromium' },
        },
    });
    if (!values.video || !values.audio) throw new Error('--video and --audio are needed');
    return values;
}

// The camera is granted only to a secure context: a file is none, a server on loopback is one.
function servePage() {
    const types = { '.html': 'text/html', '.js': 'text/javascript' };
    const server = http.createServer((request, response) => {
        const name = request.url === '/' ? 'page.html' : path.basename(request.url);
        const type = types[path.extname(name)];
        if (!type || !name.startsWith('page.')) {
            response.writeHead(404).end();
            return;
        }
        response.writeHead(200, { 'content-type': type });
        fs.createReadStream(path.join(__dirname, name)).pipe(response);
    });
    return new Promise((resolve) => {
        server.listen(0, '127.0.0.1', () => resolve(server));
    });
}

async function openPage(browser, options, sendToHost) {
    const server = await servePage();
    const page = await browser.newPage();
    page.on('pageerror', (error) => say({ event: 'trouble', text: String(error) }));
    await page.exposeFunction('report', say);
    await page.exposeFunction('sendToHost', sendToHost);
    await page.goto(`http://127.0.0.1:${server.address().port}/`);
    const [width, height] = options.size.split('x').map(Number);
    const camera = await page.evaluate((wanted) => Phone.start(wanted), {
        identifier: kIdentifier,
        codec: options.codec,
        only: options.only,
        width,
        height,
        framesPerSecond: Number(options.fps),
    });
    say({ event: 'camera', width: camera.width, height: camera.height, framesPerSecond: camera.frameRate });
    return page;
}

// The hosts that dialled; the page knows each by a number.
function acceptHosts(address, sockets, toPage) {
    const server = new WebSocketServer({ host: address, port: kPort, path: '/' });
    let nextClient = 0;
    server.on('connection', (socket) => {
        const client = (nextClient += 1);
        sockets.set(client, socket);
        say({ event: 'opened' });
        toPage('open', client);
        socket.on('message', (data, isBinary) => {
            if (!isBinary) toPage('receive', client, data.toString());
        });
        socket.on('error', (error) => say({ event: 'trouble', text: String(error) }));
        socket.on('close', () => {
            sockets.delete(client);
            toPage('close', client);
            say({ event: 'closed' });
        });
    });
    return new Promise((resolve, reject) => {
        server.once('error', reject);
        server.once('listening', () => resolve(server));
    });
}

// Carries texts between the sockets and the page until something ends it.
class BrowserPhone {
    constructor() {
        this.sockets = new Map();
        this.browser = null;
        this.ending = false;
        this.freeze = () => {};
    }

    async run(options) {
        this.browser = await launchChromium(options);
        this.browser.on('disconnected', () => this.end(1));
        const page = await openPage(this.browser, options, (client, text) => {
            const socket = this.sockets.get(client);
            if (socket) socket.send(text);
        });
        const toPage = (operation, client, text) => {
            page.evaluate(([name, ...values]) => Phone[name](...values), [operation, client, text]).catch((error) =>
                this.tell(error),
            );
        };
        this.freeze = () => toPage('freeze');
        await acceptHosts(options.listen, this.sockets, toPage);
        say({ event: 'listening', version: this.browser.version() });
    }

    // What fails because the end has begun is no trouble.
    tell(error) {
        if (!this.ending) say({ event: 'trouble', text: String(error) });
    }

    async end(code) {
        if (this.ending) return;
        this.ending = true;
        if (this.browser) await this.browser.close().catch(() => {});
        process.exit(code);
    }
}

const phone = new BrowserPhone();
process.on('SIGINT', () => phone.end(0));
process.on('SIGTERM', () => phone.end(0));
process.stdin
    .on('data', (text) => text.includes('freeze') && phone.freeze())
    .on('end', () => phone.end(0))
    .resume();
Promise.resolve()
    .then(() => phone.run(readOptions()))
    .catch((error) => {
        phone.tell(error);
        phone.end(1);
    });
