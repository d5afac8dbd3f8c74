// The design of the one window, Form1.
#pragma once

#include "platform/toolkit.h"

extern const FormDesign kFormDesign;
