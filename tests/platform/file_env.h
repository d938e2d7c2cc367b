// Old-style handles and the temporary folder: declared with the rest of the test environment.
#pragma once
#include "test_env.h"
