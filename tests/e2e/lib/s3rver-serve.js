#!/usr/bin/env node
'use strict';
// Runs s3rver on 127.0.0.1 and [::1] with the same port, since *.localhost
// resolves to ::1 first and clients should not depend on falling back to IPv4.
// s3rver's own request log is unreadable outside a terminal, so every request
// is logged here as one line: req "METHOD URL" STATUS HOST
//
// usage: s3rver-serve.js --directory DIR --port-file FILE [--port N]
//                        [--service-endpoint NAME] [--key PEM --cert PEM]
//                        [--listen-fds FD,FD]   (listening sockets handed down by
//                                                socket-holder.py; no port file then)
//                        [--pace BYTES_PER_S]   (bodies sent and received no faster: a test
//                                                can then stop the server in the middle of one)

const fs = require('fs');
const http = require('http');
const https = require('https');
const path = require('path');

const S3rver = require(require.resolve('s3rver', { paths: [path.join(__dirname, '..')] }));

function parseArgs(argv) {
  const opts = { port: 0, serviceEndpoint: 'localhost' };
  for (let i = 0; i < argv.length; i += 2) {
    const name = argv[i], value = argv[i + 1];
    if (value === undefined) throw new Error(`missing value for ${name}`);
    switch (name) {
      case '--directory': opts.directory = value; break;
      case '--port-file': opts.portFile = value; break;
      case '--port': opts.port = Number(value); break;
      case '--service-endpoint': opts.serviceEndpoint = value; break;
      case '--key': opts.key = fs.readFileSync(value); break;
      case '--cert': opts.cert = fs.readFileSync(value); break;
      case '--listen-fds': opts.listenFds = value.split(',').map(Number); break;
      case '--pace': opts.pace = Number(value); break;
      default: throw new Error(`unknown option ${name}`);
    }
  }
  if (!opts.directory || !(opts.portFile || opts.listenFds)) {
    throw new Error('--directory and --port-file or --listen-fds are required');
  }
  return opts;
}

function log(line) {
  process.stdout.write(line + '\n');
}

// The wait, in ms, until BYTES more are due at RATE bytes a second, counted from the bytes so far.
function pacer(bytesPerSecond) {
  let due = Date.now();
  return bytes => {
    due = Math.max(due, Date.now()) + bytes * 1000 / bytesPerSecond;
    return due - Date.now();
  };
}

// Sending: each write reports a full buffer and 'drain' comes when its bytes are due (the
// socket's own 'drain' is dropped), so a piped body (koa pipes object files) follows the pace.
function paceOut(res, bytesPerSecond) {
  const write = res.write.bind(res), emit = res.emit.bind(res), wait = pacer(bytesPerSecond);
  res.emit = (event, ...args) => event !== 'drain' && emit(event, ...args);
  res.write = (chunk, ...rest) => {
    write(chunk, ...rest);
    setTimeout(() => emit('drain'), wait(Buffer.byteLength(chunk)));
    return false;
  };
}

// Receiving: a refused push stops reading from the socket until the body is read from again, and
// that read is held back until the bytes pushed so far are due.
function paceIn(req, bytesPerSecond) {
  const push = req.push.bind(req), read = req._read.bind(req), wait = pacer(bytesPerSecond);
  let held = 0;
  req.push = (chunk, ...rest) => {
    if (chunk) held = wait(chunk.length);
    return push(chunk, ...rest) && !chunk;
  };
  req._read = n => setTimeout(() => read(n), Math.max(0, held));
}

function listen(server, port, address) {
  return new Promise((resolve, reject) => {
    const onError = err => { server.removeListener('listening', onListening); reject(err); };
    const onListening = () => { server.removeListener('error', onError); resolve(server.address().port); };
    server.once('error', onError);
    server.once('listening', onListening);
    server.listen(port, address);
  });
}

function close(server) {
  return new Promise(resolve => server.close(() => resolve()));
}

async function main() {
  const opts = parseArgs(process.argv.slice(2));
  fs.mkdirSync(opts.directory, { recursive: true });
  const app = new S3rver({
    directory: opts.directory,
    serviceEndpoint: opts.serviceEndpoint,
    // s3rver 3.7.1 leaves the date line out of its own string to sign, so a
    // correct request with a plain Date header would be refused.
    allowMismatchedSignatures: true,
    silent: true,
  });
  await app.configureBuckets();
  const handler = app.callback();
  const tls = Boolean(opts.key && opts.cert);
  const makeServer = () => {
    const onRequest = (req, res) => {
      // s3rver rewrites req.url for virtual-host requests: log what the client sent
      const line = `"${req.method} ${req.url}"`;
      res.on('finish', () => log(`req ${line} ${res.statusCode} ${req.headers.host || '-'}`));
      if (opts.pace) { paceIn(req, opts.pace); paceOut(res, opts.pace); }
      handler(req, res);
    };
    return tls ? https.createServer({ key: opts.key, cert: opts.cert }, onRequest)
               : http.createServer(onRequest);
  };

  if (opts.listenFds) {
    for (const fd of opts.listenFds) await listen(makeServer(), { fd });
    log(`s3rver listening on inherited sockets ${opts.listenFds.join(',')}`);
    return;
  }

  // With port 0 the kernel picks the IPv4 port; the same number may be taken on
  // ::1 by someone else, so try again a few times.
  for (let attempt = 0; attempt < 20; attempt++) {
    const v4 = makeServer();
    const port = await listen(v4, opts.port, '127.0.0.1');
    const v6 = makeServer();
    let addresses = [`127.0.0.1:${port}`];
    try {
      await listen(v6, port, '::1');
      addresses.push(`[::1]:${port}`);
    } catch (err) {
      if (err.code === 'EADDRINUSE' && opts.port === 0) { await close(v4); continue; }
      if (err.code !== 'EADDRNOTAVAIL' && err.code !== 'EAFNOSUPPORT') throw err;
      log(`warning: no IPv6 loopback (${err.code}); listening on IPv4 only`);
    }
    fs.writeFileSync(opts.portFile + '.tmp', `${port}\n`);
    fs.renameSync(opts.portFile + '.tmp', opts.portFile);
    log(`s3rver ${require(require.resolve('s3rver/package.json', { paths: [path.join(__dirname, '..')] })).version} listening on ${addresses.join(' ')}${tls ? ' (TLS)' : ''}`);
    const stop = () => process.exit(0);
    process.on('SIGTERM', stop);
    process.on('SIGINT', stop);
    return;
  }
  throw new Error('no port free on both 127.0.0.1 and ::1');
}

main().catch(err => {
  console.error(`s3rver-serve: ${err.stack || err}`);
  process.exit(1);
});
