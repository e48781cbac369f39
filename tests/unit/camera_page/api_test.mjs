import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Api, Refusal } from '../../../apps/petrel/page/api.js';
import { VirtualTimers } from './virtual_timers.mjs';

function setUp(answer, query) {
    const timers = new VirtualTimers();
    const asked = [];
    const api = new Api(
        (path, options) => {
            asked.push([path, options]);
            return answer(options);
        },
        timers,
        query,
    );
    return { api, timers, asked };
}

test('what is sent is JSON, and what comes is an object', async () => {
    const { api, asked, timers } = setUp(async () => new Response('{"phone":{}}'), '?token=t');
    assert.deepEqual(await api.post('/api/pair', { code: 'x' }), { phone: {} });
    const [path, options] = asked[0];
    assert.deepEqual([path, options.method, options.body], ['/api/pair?token=t', 'POST', '{"code":"x"}']);
    assert.equal(options.headers['content-type'], 'application/json');
    assert.deepEqual(timers.pauses(), [], 'no timer is left');
});

test('an answer without a body is an empty object', async () => {
    assert.deepEqual(await setUp(async () => new Response('')).api.get('/x'), {});
});

test('a refusal has the machine’s reason and its patience', async () => {
    const answer = async () =>
        new Response('{"error":"slow-down"}', { status: 429, headers: { 'retry-after': '8' } });
    const error = await setUp(answer).api.get('/x').catch((caught) => caught);
    assert.ok(error instanceof Refusal);
    assert.deepEqual([error.problem, error.retryAfterSeconds], ['slow-down', 8]);
});

test('a refusal with any body at all is one', async () => {
    for (const body of ['', '<html>', 'null', '{"error":5}']) {
        const answer = async () => new Response(body, { status: 500, headers: { 'retry-after': 'soon' } });
        const error = await setUp(answer).api.get('/x').catch((caught) => caught);
        assert.deepEqual([error.problem, error.retryAfterSeconds], ['machine-failed', null], body);
    }
});

test('a machine that does not answer within 5 s is not waited for', async () => {
    const { api, timers } = setUp(
        ({ signal }) =>
            new Promise((resolve, reject) => signal.addEventListener('abort', () => reject(new Error('aborted')))),
    );
    const asked = assert.rejects(api.get('/x'), (error) => !(error instanceof Refusal));
    await timers.advance(5000);
    await asked;
});
