#pragma once
// The SDK binding is public: an embedder implements it over the real SDK.
#include "lumetra_rpc/sdk.h"
