#pragma once
#include "lumetra_rpc/timeout_config.h"
