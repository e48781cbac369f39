import assert from 'node:assert/strict';
import { test } from 'node:test';

import { pageState, vibration } from '../../../apps/petrel/page/page_state.js';

const kOpen = { paired: true, link: 'open', viewers: [] };
const viewer = (connected, onAir = false) => ({ connected, onAir });

test('the states from the first opening to on air', () => {
    assert.equal(pageState({ paired: false, link: 'closed', viewers: [] }).name, 'unpaired');
    assert.equal(pageState({ paired: true, link: 'closed', viewers: [] }).name, 'off');
    assert.equal(pageState({ paired: true, link: 'connecting', viewers: [] }).name, 'connecting');
    assert.equal(pageState(kOpen).name, 'waiting');
    assert.equal(pageState({ ...kOpen, viewers: [viewer(false)] }).name, 'waiting');
    assert.deepEqual(pageState({ ...kOpen, viewers: [viewer(true), viewer(false)] }), { name: 'live', count: 1 });
    assert.deepEqual(pageState({ ...kOpen, viewers: [viewer(true), viewer(true)] }), { name: 'live', count: 2 });
    assert.equal(pageState({ ...kOpen, viewers: [viewer(true), viewer(true, true)] }).name, 'air');
});

test('one host that has the phone on air is enough, even before its media flow', () => {
    assert.equal(pageState({ ...kOpen, viewers: [viewer(false, true)] }).name, 'air');
});

test('without the line to the machine, only flowing media are believed', () => {
    const lost = { paired: true, link: 'connecting' };
    assert.equal(pageState({ ...lost, viewers: [viewer(true, true)] }).name, 'air');
    assert.equal(pageState({ ...lost, viewers: [viewer(true)] }).name, 'live');
    assert.equal(pageState({ ...lost, viewers: [viewer(false, true)] }).name, 'connecting');
});

test('fingers can tell on from off', () => {
    assert.equal(vibration(false, false), null);
    assert.equal(vibration(true, true), null);
    assert.notDeepEqual(vibration(false, true), vibration(true, false));
});

test('a camera that cannot be used is not called waiting, nor live', () => {
    const blind = { ...kOpen, hasPicture: false };
    assert.equal(pageState(blind).name, 'blind');
    assert.equal(pageState({ ...blind, viewers: [viewer(true)] }).name, 'blind');
    assert.equal(pageState({ ...blind, viewers: [viewer(true, true)] }).name, 'air');
    assert.equal(pageState({ ...blind, link: 'connecting' }).name, 'connecting');
});
