// Resources that the toolkit loads. Read by the resource script as well, so preprocessor only.
#pragma once

#define ICON_PROGRAM 1
#define ICON_RESTORE 2
