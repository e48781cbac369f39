// Plays the machine for tests of the page alone: serves its files over https and lets the test say every event.
import { execFileSync } from 'node:child_process';
import { EventEmitter } from 'node:events';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import https from 'node:https';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const kPage = fileURLToPath(new URL('../../../apps/petrel/page/', import.meta.url));
const kTypes = { '.html': 'text/html', '.css': 'text/css', '.js': 'text/javascript', '.svg': 'image/svg+xml' };
const kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; " +
    "media-src 'self' blob: mediastream:; connect-src 'self'; manifest-src 'self'; base-uri 'none'; " +
    "form-action 'none'; frame-ancestors 'none'";

function makeCertificate(folder) {
    const key = path.join(folder, 'key.pem');
    const certificate = path.join(folder, 'certificate.pem');
    const subject = ['-subj', '/CN=localhost', '-addext', 'subjectAltName=IP:127.0.0.1'];
    execFileSync(
        'openssl',
        ['req', '-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:P-256', '-nodes', '-days', '2'].concat(
            ['-keyout', key, '-out', certificate],
            subject,
        ),
        { stdio: 'ignore' },
    );
    return { key: readFileSync(key), cert: readFileSync(certificate) };
}

// Emits "post" (path, body) for every POST that is not answered by `refusals`.
export class MockServer extends EventEmitter {
    constructor() {
        super();
        this.folder = mkdtempSync(path.join(os.tmpdir(), 'camera_page_'));
        this.isPaired = false;
        this.refusals = new Map(); // path -> {status, error, retryAfter}
        this.streams = new Set();
        this.viewers = [];
        this.operator = null;
        this.server = https.createServer(makeCertificate(this.folder), (request, response) =>
            this.answer(request, response),
        );
    }

    async start() {
        await new Promise((resolve) => this.server.listen(0, '127.0.0.1', resolve));
        this.url = `https://127.0.0.1:${this.server.address().port}/`;
    }

    async stop() {
        this.server.closeAllConnections();
        await new Promise((resolve) => this.server.close(resolve));
        rmSync(this.folder, { recursive: true });
    }

    say(name, data) {
        for (const stream of this.streams) stream.write(`event: ${name}\ndata: ${JSON.stringify(data)}\n\n`);
    }

    dropStreams() {
        for (const stream of this.streams) stream.destroy();
    }

    answer(request, response) {
        const { pathname } = new URL(request.url, this.url);
        response.setHeader('content-security-policy', kPolicy);
        response.setHeader('cache-control', 'no-cache');
        const refusal = this.refusals.get(pathname);
        if (refusal) {
            if (refusal.retryAfter) response.setHeader('retry-after', String(refusal.retryAfter));
            this.tell(response, refusal.status, { error: refusal.error, sentence: 'No.' });
        } else if (request.method === 'POST') {
            this.take(request, response, pathname);
        } else if (pathname === '/api/events') {
            this.openStream(response);
        } else if (pathname === '/api/me') {
            this.tell(response, 200, { phone: { identifier: 'p', name: 'Anna’s phone' } });
        } else if (pathname === '/api/operator') {
            this.tell(response, 200, this.operator);
        } else {
            this.serveFile(response, pathname);
        }
    }

    tell(response, status, body) {
        response.writeHead(status, { 'content-type': 'application/json' }).end(JSON.stringify(body));
    }

    take(request, response, pathname) {
        let text = '';
        request.on('data', (piece) => (text += piece));
        request.on('end', () => {
            if (pathname === '/api/pair') this.isPaired = true;
            this.tell(response, 200, {});
            this.emit('post', pathname, JSON.parse(text));
        });
    }

    openStream(response) {
        if (!this.isPaired) {
            this.tell(response, 401, { error: 'not-paired', sentence: 'No.' });
            return;
        }
        response.writeHead(200, { 'content-type': 'text/event-stream' });
        this.streams.add(response);
        response.on('close', () => this.streams.delete(response));
        response.write(
            `event: hello\ndata: ${JSON.stringify({ resumed: false, viewers: this.viewers })}\n\n`,
        );
        this.emit('stream');
    }

    serveFile(response, pathname) {
        const names = { '/': 'index.html', '/operator': 'operator.html' };
        const name = names[pathname] ?? path.basename(pathname);
        try {
            const content = readFileSync(path.join(kPage, name));
            response.writeHead(200, { 'content-type': kTypes[path.extname(name)] }).end(content);
        } catch {
            this.tell(response, 404, { error: 'not-found', sentence: 'No.' });
        }
    }
}
