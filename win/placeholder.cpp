// Removed once the library has its first real source file.
namespace {
[[maybe_unused]] int placeholder;
}
