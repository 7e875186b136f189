// Every path of the installed product, derived from the one product root
// chosen at configure time (AV_PRODUCT_ROOT). Nothing else spells them.
#pragma once

#ifndef AV_PRODUCT_ROOT
#error "AV_PRODUCT_ROOT must be defined by the build"
#endif

#define AV_PATH_ROOT AV_PRODUCT_ROOT
#define AV_PATH_TERMDEF AV_PRODUCT_ROOT "/termdef"
#define AV_PATH_CONFIG_DIR AV_PRODUCT_ROOT "/conduvia/config"
#define AV_PATH_IPADDR AV_PATH_CONFIG_DIR "/ipaddr"
#define AV_PATH_COMMANDS AV_PATH_CONFIG_DIR "/commands"
#define AV_PATH_ENV AV_PATH_CONFIG_DIR "/env"
#define AV_PATH_DOC AV_PRODUCT_ROOT "/conduvia/doc"
#define AV_PATH_HAWSER_PROG AV_PRODUCT_ROOT "/hawser/prog/avhws"
