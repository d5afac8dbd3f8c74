// The design of the one window, Form1: its 13 controls in tab order, places in twips.
#pragma once

#include "platform/toolkit.h"

extern const FormDesign kFormDesign;

const ControlDesign& DesignOf(Control control);
