#include "fault_injection.h"
#include <gtest/gtest.h>
