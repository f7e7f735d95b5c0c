#pragma once
#include "link/B.h"
