#ifndef OPENSSLLOADER_H
#define OPENSSLLOADER_H

#include <QPair>
#include <QString>
#include <QStringList>

class QLibrary;

// The tool never links libcrypto: it finds the library at start and resolves
// by name the functions the cipher pipeline needs, so that one build runs
// with whatever OpenSSL the system has.
namespace OpenSslLoader {

// Folders to search for the libraries, in the order they are tried.
QStringList libraryPathList();
// True when library file `a` has a higher version than `b` ("libcrypto.so.3" > "libcrypto.so.1.1").
bool libGreaterThan(const QString& a, const QString& b);
QStringList findAllLibSsl();
QStringList findAllLibCrypto();
// libssl and libcrypto, loaded; both null when none could be loaded.
QPair<QLibrary*, QLibrary*> loadOpenSsl();

// The address of a resolved function, null before initializeOpenSSL succeeded.
void* symbol(const char* name);

// Whether OpenSSL 3's "legacy" provider, home of the Blowfish ciphers, could
// be loaded at start. A system without it runs, but without Blowfish.
bool hasLegacyProvider();

// Frees the calling thread's OpenSSL state now. Left to the thread's own
// exit, that could run after the library's exit handler freed it already.
void releaseThreadState();

} // namespace OpenSslLoader

// Loads the library, resolves every function and loads the cipher providers;
// on failure the message says why. Downloads decrypt from then on.
QPair<bool, QString> initializeOpenSSL();

#endif
