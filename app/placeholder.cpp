#include "app/app.h"

int app_main(int, char **) { return 0; }
