// What the package upnp-mediarenderer-client needs around it: it opens a connection for every call and
// says so, which the agent of newer Node versions keeps all the same and then finds closed; and it
// never answers the events that it receives.
'use strict';

const http = require('http');

http.globalAgent = new http.Agent({ keepAlive: false });
const createServer = http.createServer;
http.createServer = (listener) =>
    createServer((request, response) => {
        request.on('end', () => response.end());
        listener(request, response);
    });
