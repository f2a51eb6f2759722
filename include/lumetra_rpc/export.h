#pragma once
// Marks the classes the shared library exports; everything else stays hidden.
#define LMRPC_API __attribute__((visibility("default")))
