#ifndef LUMETRA_RPC_EXPORT_H
#define LUMETRA_RPC_EXPORT_H
/* Marks what the shared library exports; everything else stays hidden. The library's own
 * build defines LMRPC_BUILDING; consumers of a Windows DLL import instead. */
#if defined(_WIN32) && !defined(LMRPC_STATIC)
#if defined(LMRPC_BUILDING)
#define LMRPC_API __declspec(dllexport)
#else
#define LMRPC_API __declspec(dllimport)
#endif
#else
#define LMRPC_API __attribute__((visibility("default")))
#endif

#endif
