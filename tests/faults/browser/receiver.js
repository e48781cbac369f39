#!/usr/bin/env node
// Headless Chromium in the place of the host: dials the phone, makes the offer as the plug-in does, and receives.
// Each line on standard input is answered with one JSON object about what was received so far; ends with its input.
//
//   receiver.js ws://ADDRESS:9001/
'use strict';

const path = require('node:path');
const readline = require('node:readline');
const { createRequire } = require('node:module');

// The packages are those of the browser phone.
const { chromium } = createRequire(path.join(__dirname, '../../e2e/browser/package.json'))('playwright-core');

// Runs in the page.
function receive(url) {
    const socket = new WebSocket(url);
    const sessionGuid = crypto.randomUUID ? crypto.randomUUID() : '0D3A1B52-5C3F-4E0A-9B61-4A6B7C2F9E10';
    const waiting = [];
    let peer = null;
    let peersIdentifier = '';
    const send = (message) => socket.send(JSON.stringify({ ...message, peersIdentifier, sessionGuid }));

    function offerOnly(transceiver, kind, first) {
        const codecs = RTCRtpReceiver.getCapabilities(kind).codecs;
        const isFirst = (codec) => codec.mimeType.toLowerCase() === first;
        transceiver.setCodecPreferences([...codecs.filter(isFirst), ...codecs.filter((codec) => !isFirst(codec))]);
    }

    async function offer() {
        peer = new RTCPeerConnection();
        window.peer = peer;
        offerOnly(peer.addTransceiver('video', { direction: 'recvonly' }), 'video', 'video/h264');
        peer.addTransceiver('audio', { direction: 'recvonly' });
        peer.ontrack = (event) => {
            const element = document.createElement(event.track.kind);
            element.autoplay = true;
            element.muted = true;
            element.srcObject = new MediaStream([event.track]);
            document.body.append(element);
        };
        peer.onicecandidate = ({ candidate }) => {
            if (!candidate || !candidate.candidate) return;
            const { sdpMid, sdpMLineIndex } = candidate;
            send({ action: 'ice', sdp: candidate.candidate, sdpMid, sdpMLineIndex: String(sdpMLineIndex) });
        };
        await peer.setLocalDescription(await peer.createOffer());
        send({ action: 'masterMadeOffer', type: 'offer', sdp: peer.localDescription.sdp });
    }

    socket.onopen = () => send({ action: 'joinMaster', ownerKey: '', username: 'Halyard' });
    socket.onmessage = async ({ data }) => {
        const message = JSON.parse(data);
        if (message.action === 'peerJoined') {
            peersIdentifier = message.peersIdentifier;
            await offer();
        } else if (message.action === 'gotAnswer') {
            await peer.setRemoteDescription({ type: 'answer', sdp: message.sdp });
            for (const candidate of waiting.splice(0)) await peer.addIceCandidate(candidate);
        } else if (message.action === 'ice') {
            const candidate = {
                candidate: message.sdp,
                sdpMid: message.sdpMid,
                sdpMLineIndex: Number(message.sdpMLineIndex),
            };
            if (peer.remoteDescription) await peer.addIceCandidate(candidate);
            else waiting.push(candidate);
        }
    };
}

// Runs in the page.
async function received() {
    if (!window.peer) return { framesDecoded: 0 };
    for (const entry of (await window.peer.getStats()).values()) {
        if (entry.type !== 'inbound-rtp' || entry.kind !== 'video') continue;
        const { framesDecoded = 0, framesReceived = 0, packetsLost = 0, nackCount = 0, pliCount = 0 } = entry;
        return { framesDecoded, framesReceived, packetsLost, nackCount, pliCount };
    }
    return { framesDecoded: 0 };
}

async function main() {
    const browser = await chromium.launch({
        executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
        headless: true,
        chromiumSandbox: false,
        args: [
            '--autoplay-policy=no-user-gesture-required',
            '--disable-features=WebRtcHideLocalIpsWithMdns',
            '--disable-gpu',
            '--disable-quic',
            '--no-first-run',
            '--disable-background-networking',
            '--disable-component-update',
            '--disable-sync',
            '--disable-domain-reliability',
            '--no-pings',
        ],
    });
    const page = await browser.newPage();
    page.on('pageerror', (error) => process.stderr.write(`${error}\n`));
    await page.evaluate(receive, process.argv[2]);
    process.stdout.write(`${JSON.stringify({ version: browser.version() })}\n`);
    for await (const _ of readline.createInterface({ input: process.stdin })) {
        const counts = await page.evaluate(received);
        const atUs = Number(process.hrtime.bigint() / 1000n);
        process.stdout.write(`${JSON.stringify({ atUs, ...counts })}\n`);
    }
    await browser.close();
}

main().catch((error) => {
    process.stderr.write(`${error}\n`);
    process.exit(1);
});
