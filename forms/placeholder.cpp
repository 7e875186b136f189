// Process-wide widget settings; the widgets themselves come in their own files.
#include "forms/forms.h"

int insert_mode = 0;
int escape_key_setting = 1;
const char *cancel_key_name() { return escape_key_setting ? "ESC" : "F5"; }
