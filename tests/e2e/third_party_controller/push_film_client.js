// push_film_client.js LOCATION URI: the package upnp-mediarenderer-client pushes a film, pauses,
// resumes, seeks and stops it, each step when the event of the one before has come. One JSON object a
// step.
'use strict';

require('./around_the_client');
const Client = require('upnp-mediarenderer-client');

const [location, uri] = process.argv.slice(2);
const client = new Client(location);

function fail(error) {
    console.log('failed: ' + (error && error.message));
    process.exit(1);
}

function tell(step, facts = {}) {
    console.log(JSON.stringify({ step, ...facts }));
}

// Position and duration once both are known and the seek has been carried out.
function tellWhenSought(tries) {
    client.getPosition((error, position) => {
        if (error) return fail(error);
        if (position < 29) {
            if (tries === 0) return fail(new Error('still at ' + position));
            return setTimeout(() => tellWhenSought(tries - 1), 200);
        }
        client.getDuration((error, duration) => {
            if (error) return fail(error);
            tell('sought', { position, duration });
            client.stop((error) => error && fail(error));
        });
    });
}

// What is waited for. Events may repeat, for example after a seek; each step is taken once.
let awaited = 'status';

function on(event, expected, next, action) {
    client.on(event, () => {
        if (awaited !== expected) return;
        awaited = next;
        if (event !== 'status') tell(event);
        action((error) => error && fail(error));
    });
}

const metadata = { title: 'A film from elsewhere', type: 'video', creator: 'Somebody' };
client.on('error', fail);
// The first event says that the subscription stands.
on('status', 'status', 'playing', (done) =>
    client.load(uri, { autoplay: true, contentType: 'video/mp4', metadata }, done));
on('playing', 'playing', 'paused', (done) => client.pause(done));
on('paused', 'paused', 'playing again', (done) => client.play(done));
on('playing', 'playing again', 'stopped', (done) =>
    client.seek(30, (error) => (error ? done(error) : tellWhenSought(50))));
on('stopped', 'stopped', 'nothing', () => process.exit(0));
