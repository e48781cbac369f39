// Runs in every page of the phone, before the page's own scripts: tells what the page shows and what it does with
// the phone. `report` is the test's.
'use strict';

// Every change of the big display and of the sentences below it, in the frame that shows it.
function watchDisplay() {
    const text = (id) => document.getElementById(id)?.textContent ?? '';
    let told = '';
    const look = () => {
        const shown = {
            state: document.body.dataset.state,
            problem: text('problem-text') + text('pair-problem'),
            watching: text('watching'),
            muted: text('muted'),
            url: location.href,
        };
        const now = JSON.stringify(shown);
        if (now === told) return;
        told = now;
        requestAnimationFrame(() => {
            report({ event: 'state', ...shown, atMs: performance.timeOrigin + performance.now() });
        });
    };
    new MutationObserver(look).observe(document.documentElement, {
        attributes: true,
        childList: true,
        characterData: true,
        subtree: true,
    });
    look();
}

// Each offer that reaches the page.
function watchOffers() {
    const { prototype } = RTCPeerConnection;
    const original = prototype.setRemoteDescription;
    prototype.setRemoteDescription = function setRemoteDescription(...parameters) {
        report({ event: 'offer' });
        return original.apply(this, parameters);
    };
}

// How many tracks of camera and microphone the page holds.
function watchDevices() {
    const held = new Set();
    const tell = () => report({ event: 'devices', state: String(held.size) });
    const devices = navigator.mediaDevices;
    const open = devices.getUserMedia.bind(devices);
    devices.getUserMedia = async (constraints) => {
        const stream = await open(constraints);
        for (const track of stream.getTracks()) held.add(track);
        tell();
        return stream;
    };
    const { prototype } = MediaStreamTrack;
    const stop = prototype.stop;
    prototype.stop = function stopAndTell() {
        stop.call(this);
        if (held.delete(this)) tell();
    };
}

function watchWakeLock() {
    if (!navigator.wakeLock) return;
    const { prototype } = WakeLock;
    const request = prototype.request;
    prototype.request = async function requestAndTell(...parameters) {
        try {
            const lock = await request.apply(this, parameters);
            report({ event: 'wake-lock', state: 'held' });
            lock.addEventListener('release', () => report({ event: 'wake-lock', state: 'released' }));
            return lock;
        } catch (error) {
            report({ event: 'wake-lock', state: 'refused' });
            throw error;
        }
    };
}

addEventListener('DOMContentLoaded', watchDisplay);
document.addEventListener('visibilitychange', () => report({ event: 'visibility', state: document.visibilityState }));
watchOffers();
if (navigator.mediaDevices) watchDevices();
watchWakeLock();
