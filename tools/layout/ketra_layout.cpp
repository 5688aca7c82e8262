// ketra-layout: prints how the records of the state bus lie in memory on the machine that it runs
// on, from the descriptors that the bus is handed. docs/record-layouts.md holds what it prints on
// the TV.
#include <cstdio>
#include <cstring>
#include <string>

#include "ServiceRecords.h"

namespace {

constexpr const zeSBusStateTemplate* kTemplates[] = {
    &ContentPlayerServiceTemplate,
    &ContentPlayerMediaTemplate,
    &ContentPlayerIdleMediaTemplate,
    &ContentPlayerPlaybackTemplate,
    &ContentPlayerMediaThumbnailTemplate,
    &ContentPlayerServiceURIExTemplate,
    &ContentPlayerServiceCustomCommandTemplate,
    &SoundServiceTemplate,
    &SoundChannelTemplate,
    &MediaRendererServiceTemplate,
    &MediaRendererAuthorizationRequestTemplate,
};

/// Bytes of the field in its record; an array lies elsewhere.
std::string sizeOf(const StateFieldDescriptor& field) {
    const std::string size = std::to_string(field.mSize);
    return field.mCount == 1 ? size : std::to_string(field.mCount) + " x " + size;
}

std::string meaningOf(const StateFieldDescriptor& field) {
    if (field.mFlags == statebus::kFieldFlagCount) {
        return std::string("elements of ") + (&field + 1)->mName;
    }
    return field.mNested != nullptr ? field.mNested->mName : "";
}

void print(const zeSBusStateTemplate& layout) {
    std::printf("\n## %s, %u bytes\n\n", layout.mName, static_cast<unsigned>(layout.mSize));
    std::printf("| offset | size | name | code | |\n|---|---|---|---|---|\n");
    for (const StateFieldDescriptor* field = layout.mFields; field->mName != nullptr; ++field) {
        std::printf("| %u | %s | %s | %s | %s |\n", static_cast<unsigned>(field->mOffset),
                    sizeOf(*field).c_str(), field->mName, field->mTypeCode,
                    meaningOf(*field).c_str());
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        const bool asked = std::strcmp(argv[1], "--help") == 0;
        std::fputs("usage: ketra-layout\nPrints how the records of the state bus lie in memory on "
                   "this machine.\n",
                   asked ? stdout : stderr);
        return asked ? 0 : 2;
    }
    std::printf("Pointers have %u bytes.\n", static_cast<unsigned>(sizeof(void*)));
    for (const zeSBusStateTemplate* layout : kTemplates) {
        print(*layout);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
