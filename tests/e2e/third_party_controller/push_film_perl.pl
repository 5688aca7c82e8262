#!/usr/bin/perl
# push_film_perl.pl URI: the module Net::UPnP finds the renderer, pushes a film, pauses, resumes,
# seeks and stops it; it knows no events and asks for the state. One JSON object a step.
use strict;
use warnings;
use Net::UPnP::ControlPoint;
use Net::UPnP::AV::MediaRenderer;
use Time::HiRes qw(sleep time);

my $uri = shift or die "which address?\n";
my $limit = 30; # seconds, for each thing that is waited for
$| = 1;

my $control = Net::UPnP::ControlPoint->new();
my $transport;
my $renderer = Net::UPnP::AV::MediaRenderer->new();
my $end = time() + $limit;
until ($transport) {
    die "failed: no renderer\n" if time() > $end;
    for my $device ($control->search(st => 'upnp:rootdevice', mx => 1)) {
        next if $device->getdevicetype() ne 'urn:schemas-upnp-org:device:MediaRenderer:1';
        $transport = $device->getservicebyname('urn:schemas-upnp-org:service:AVTransport:1');
        $renderer->setdevice($device);
    }
}

sub call {
    my ($action, %arguments) = @_;
    my $answer = $transport->postaction($action, {InstanceID => 0, %arguments});
    die "failed: $action: " . $answer->getstatuscode() . "\n" if $answer->getstatuscode() != 200;
    return $answer->getargumentlist();
}

sub wait_for {
    my ($what, $condition) = @_;
    my $end = time() + $limit;
    until ($condition->()) {
        die "failed: waited in vain for $what\n" if time() > $end;
        sleep(0.1);
    }
}

sub state_is {
    my ($state, $step) = @_;
    wait_for($state, sub { call('GetTransportInfo')->{CurrentTransportState} eq $state });
    print qq({"step": "$step"}\n);
}

sub seconds {
    my ($hours, $minutes, $seconds) = split /:/, shift;
    return $hours * 3600 + $minutes * 60 + int($seconds);
}

$renderer->setAVTransportURI(CurrentURI => $uri);
$renderer->play();
state_is('PLAYING', 'playing');
call('Pause');
state_is('PAUSED_PLAYBACK', 'paused');
$renderer->play();
state_is('PLAYING', 'playing');
call('Seek', Unit => 'REL_TIME', Target => '0:00:30');
my ($position, $duration);
wait_for('the position of the seek', sub {
    my $told = call('GetPositionInfo');
    ($position, $duration) = (seconds($told->{RelTime}), seconds($told->{TrackDuration}));
    return $position >= 29;
});
print qq({"step": "sought", "position": $position, "duration": $duration}\n);
$renderer->stop();
state_is('STOPPED', 'stopped');
