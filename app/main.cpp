#include "app/app.h"

int main(int argc, char **argv) {
    return app_main(argc, argv);
}
