// A headless Chromium whose camera and microphone are files.
'use strict';

const path = require('node:path');
const { chromium } = require('playwright-core');

// `options`: {video, audio} are files, {chromium} the program, {more} further arguments. Without files the
// browser's own test picture and beep are used.
function launchChromium(options) {
    const files = [];
    if (options.video) files.push(`--use-file-for-fake-video-capture=${path.resolve(options.video)}`);
    if (options.audio) files.push(`--use-file-for-fake-audio-capture=${path.resolve(options.audio)}`);
    return chromium.launch({
        executablePath: options.chromium ?? '/usr/bin/chromium',
        headless: true,
        chromiumSandbox: false,
        handleSIGINT: false,
        handleSIGTERM: false,
        handleSIGHUP: false,
        args: [
            '--use-fake-ui-for-media-stream',
            '--use-fake-device-for-media-stream',
            ...files,
            '--allow-loopback-in-peer-connection',
            '--disable-gpu',
            '--disable-quic',
            '--no-first-run',
            '--disable-background-networking',
            '--disable-component-update',
            '--disable-sync',
            '--disable-domain-reliability',
            '--no-pings',
            ...(options.more ?? []),
        ],
    });
}

module.exports = { launchChromium };
