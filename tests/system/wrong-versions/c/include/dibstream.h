#define DIB_C_VERSION_MAJOR 1  ///< The first number.
#define DIB_C_VERSION_MINOR 2  ///< The second one.
#define DIB_C_VERSION_PATCH 2  ///< The third one.
/// The same as text: "1.2.2".
