#pragma once
// The SDK binding's value types are public: an embedder implements the binding.
#include "lumetra_rpc/sdk_types.h"
