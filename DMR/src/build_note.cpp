// The build note: which code this file is, for the platform's module tools and for everybody with
// `readelf -p KETRA_BUILD_NOTE`. One array, because separate variables come out in no certain
// order; retained, because nothing refers to it.

#ifndef KETRA_REVISION
#error "the build passes the source revision in"
#endif

extern "C" {
[[gnu::used, gnu::retain, gnu::section("KETRA_BUILD_NOTE")]] static const char ketra_build_note[] =
    "LIBCODE:DLNA\0"
    "LIBVER:1.5\0"
    "BUILDNUM:10.a6\0"
    "CHANGE:" KETRA_REVISION;
}
