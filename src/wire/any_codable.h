#pragma once
// The JSON value type is public: the SDK binding's signatures carry it.
#include "lumetra_rpc/json_value.h"
