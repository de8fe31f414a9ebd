#pragma once

// ComData is declared beside its twin DataBuffer.
#include "domain/records/DataBuffer.h"
