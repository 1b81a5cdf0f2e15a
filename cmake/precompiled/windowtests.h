// What every test of windows includes.
#pragma once
#include "windows.h"

#include <gtest/gtest.h>
