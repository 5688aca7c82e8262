// Certificates that a house trusts beside those of the world, for servers of its own.
#pragma once

#include <string>

#include <gio/gio.h>

namespace certificates {

/// Those in KETRA_CA_FILE, whose value `file` is; PEM. The caller owns the reference. Null when
/// they cannot be read, which is told in the log: then what the system trusts counts.
GTlsDatabase* open(const std::string& file);

} // namespace certificates
