#pragma once
#include "common/A.h"
