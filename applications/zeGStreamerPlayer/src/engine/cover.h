// The picture that a song brings along: written to a file, so that others can show it. Media
// thread.
#pragma once

#include <string>

#include <gst/gst.h>

namespace player {

/// What names of covers begin with; the number of the process that wrote them comes next.
constexpr char kCoverPrefix[] = "cover-";

class Cover {
public:
    /// Covers go to `folder`; "": nowhere.
    explicit Cover(std::string folder);
    /// Removes the file.
    ~Cover();
    Cover(const Cover&) = delete;
    Cover& operator=(const Cover&) = delete;

    /// Takes the cover, or else the preview, out of a media's tags, once.
    void take(const GstTagList* tags);

    /// Address of the file and type of the picture; "" while there is none.
    const std::string& uri() const { return uri_; }
    const std::string& mimeType() const { return mimeType_; }

private:
    bool takeImage(const GstTagList* tags, const char* tag, unsigned index);

    const std::string folder_;
    std::string file_;
    std::string uri_;
    std::string mimeType_;
};

} // namespace player
