// A decoder of GIF for GStreamer, on gdk-pixbuf. GStreamer's own reads it through a demuxer that
// wants a file on a disk and fails on what comes over a network.
#pragma once

namespace player {

/// Makes the decoder known to this process's GStreamer, which must be initialised. It shows the
/// pictures of an animation as long and as often as the file says; one that comes out of its bytes
/// damaged, or is larger than 64 MiB, is an error of the stream.
void registerGifDecoder();

} // namespace player
