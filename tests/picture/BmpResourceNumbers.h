#pragma once
/* Numbers of the test's resources. Also read by the resource compiler. */

#define IDR_TEST_GOOD 201
#define IDR_TEST_NO_IMAGE_SIZE 202
#define IDR_TEST_TOP_DOWN 203
#define IDR_TEST_GAP 204
#define IDR_TEST_LONGER 205

#define IDR_TEST_EMPTY 211
#define IDR_TEST_53_BYTES 212
#define IDR_TEST_HEADERS_ONLY 213
#define IDR_TEST_TYPE 214
#define IDR_TEST_OFFSET_53 215
#define IDR_TEST_OFFSET_IS_SIZE 216
#define IDR_TEST_INFO_SIZE 217
#define IDR_TEST_PALETTE 218
#define IDR_TEST_FILE_SIZE 219
#define IDR_TEST_CUT 220
#define IDR_TEST_FAR_OFFSET 221
#define IDR_TEST_LARGE 222

#define IDR_TEST_OTHER_TYPE 231
