// What the product calls itself. Read by the resource script as well, so preprocessor only.
// The version is set here. The manifests and CHANGELOG.md repeat it, and the tests compare them.
#pragma once

#define PRODUCT_TITLE "ROTATE_TSD"
#define PRODUCT_VERSION_MAJOR 1
#define PRODUCT_VERSION_MINOR 1
#define PRODUCT_VERSION_REVISION 0
#define PRODUCT_VERSION_TEXT "1.1.0"
#define PRODUCT_NOTICE "(c) 2026 The Rotate_TSD authors"
#define PRODUCT_HOME_HOST "tesseldyn.example"
#define PRODUCT_HOME_URL "https://tesseldyn.example/"
