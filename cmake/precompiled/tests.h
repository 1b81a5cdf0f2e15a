// What every test without windows includes.
#pragma once
#include "standard.h"

#include <gtest/gtest.h>
