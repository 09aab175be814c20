# Code generated from the enumerations goes under the build tree, in
# ${QEL_GENERATED_DIR}/qel/core/<area>/, and is installed with the headers.
set(QEL_GENERATED_DIR ${PROJECT_BINARY_DIR}/generated)
file(MAKE_DIRECTORY ${QEL_GENERATED_DIR}/qel/core)
