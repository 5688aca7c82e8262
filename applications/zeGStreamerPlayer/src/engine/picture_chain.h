// What stands between the decoder of a picture and the screen: only what this picture needs. Every
// element there has a word in the format that all of them have to agree upon, and a media shows its
// first picture when they have.
#pragma once

#include <gst/gst.h>

namespace player {

/// Leaves out of what the playbin puts there by itself whatever not every media needs. Before the
/// playbin opens anything. `subtitles`: there are some beside the media.
void shortenPictureChain(GstElement* playbin, bool subtitles);

/// On whatever thread adds an element to the playbin: a demuxer or decoder that
/// comes upon a need (subtitles, lines to be put together, a camera that was held on its side) has
/// it seen to before the pictures are connected to the screen.
void watchPictureNeeds(GstElement* playbin, GstElement* element);

/// Whether what is to be decoded may be pictures of two halves, each every other line. As long as
/// its format does not rule it out, it may.
bool mayBeInterlaced(const GstCaps* caps);

} // namespace player
