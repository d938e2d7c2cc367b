// The system's profile calls for tests: declared with the rest of the test environment.
#pragma once
#include "test_env.h"
