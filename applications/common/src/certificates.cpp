#include "common/certificates.h"

#include "common/log.h"

namespace certificates {

GTlsDatabase* open(const std::string& file) {
    char* const path = g_canonicalize_filename(file.c_str(), nullptr); // GIO takes no other
    GError* failure = nullptr;
    GTlsDatabase* const database = g_tls_file_database_new(path, &failure);
    g_free(path);
    if (database == nullptr) {
        logging::logWarning("KETRA_CA_FILE=" + file + " cannot be used: " + failure->message +
                            "; what the system trusts is trusted");
        g_error_free(failure);
    }
    return database;
}

} // namespace certificates
