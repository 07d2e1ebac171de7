// Compiles only while the headers of the core, all of them, bring in no technology.
#include "all_core_headers.h"

#if defined(QT_VERSION) || defined(QT_CORE_LIB)
#error "A header of the core pulls in Qt."
#endif
#if defined(LIBCURL_VERSION)
#error "A header of the core pulls in curl."
#endif
#if defined(SQLITE_VERSION)
#error "A header of the core pulls in SQLite."
#endif
#if defined(CV_VERSION)
#error "A header of the core pulls in OpenCV."
#endif
#if defined(NLOHMANN_JSON_VERSION_MAJOR)
#error "A header of the core pulls in the JSON parser."
#endif
#if defined(OPENSSL_VERSION_TEXT) || defined(CPPHTTPLIB_VERSION)
#error "A header of the core pulls in a network library."
#endif
