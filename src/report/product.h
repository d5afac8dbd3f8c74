// What the product calls itself. Read by the resource script as well, so preprocessor only.
#pragma once

#define PRODUCT_TITLE "ROTATE_TSD"
#define PRODUCT_VERSION_MAJOR 1
#define PRODUCT_VERSION_MINOR 0
#define PRODUCT_VERSION_REVISION 0
#define PRODUCT_VERSION_TEXT "1.0.0"
#define PRODUCT_NOTICE "(c) 2026 The Rotate_TSD authors"
#define PRODUCT_HOME_HOST "tesseldyn.example"
#define PRODUCT_HOME_URL "https://tesseldyn.example/"
