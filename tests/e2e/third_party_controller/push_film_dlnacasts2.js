// push_film_dlnacasts2.js URI: the package dlnacasts2 finds the renderer, pushes a film, pauses,
// resumes, seeks and stops it, each step when the event of the one before has come. One JSON object a
// step.
'use strict';

require('./around_the_client');
const casts = require('dlnacasts2')();

const uri = process.argv[2];

function fail(error) {
    console.log('failed: ' + (error && error.message));
    process.exit(1);
}

function tell(step, facts = {}) {
    console.log(JSON.stringify({ step, ...facts }));
}

// It searches once; the search or its answer may get lost.
const searching = setInterval(() => casts.update(), 1000);

casts.once('update', (player) => {
    clearInterval(searching);
    const done = (error) => error && fail(error);
    player.on('error', fail);

    function tellWhenSought(tries) {
        player.status((error, { currentTime }) => {
            if (error) return fail(error);
            if (currentTime < 29) {
                if (tries === 0) return fail(new Error('still at ' + currentTime));
                return setTimeout(() => tellWhenSought(tries - 1), 200);
            }
            player.client.getDuration((error, duration) => {
                if (error) return fail(error);
                tell('sought', { position: currentTime, duration });
                player.stop(done);
            });
        });
    }

    // What is waited for, and what is done when it comes. Events may repeat; each step is taken once.
    const steps = [
        ['PLAYING', 'playing', () => player.pause(done)],
        ['PAUSED', 'paused', () => player.resume(done)],
        ['PLAYING', 'playing',
            () => player.seek(30, (error) => (error ? fail(error) : tellWhenSought(50)))],
    ];
    player.on('status', ({ playerState }) => {
        if (steps.length === 0 || playerState !== steps[0][0]) return;
        const [, name, action] = steps.shift();
        tell(name);
        action();
    });
    player.play(uri, { title: 'A film from elsewhere', type: 'video/mp4' }, (error) => {
        if (error) return fail(error);
        // It knows no event for the end; the client within it does.
        player.client.on('stopped', () => {
            if (steps.length > 0) return;
            tell('stopped');
            process.exit(0);
        });
    });
});
