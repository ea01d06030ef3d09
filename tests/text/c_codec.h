/* A codec component written in C, as somebody else's compiler might build it: its interfaces are
 * tables of functions, declared from their slot order alone. */
#ifndef ZVSUPPORT_TESTS_TEXT_C_CODEC_H
#define ZVSUPPORT_TESTS_TEXT_C_CODEC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The codec, with one reference. Its charset is "X-C": a byte stands for the character of its own
 * number plus 0x400. */
void* cCodecCreate(void);
/* References that are held. */
int cCodecReferences(const void* codec);

/* Compares two objects of the library through the first one's IZvComparable interface, which it
 * asks `unknown` for. Non-zero when any call answers what it must not; the reference taken is given
 * back. */
int cCompare(void* unknown, void* other, int32_t* order, uint32_t* hash);

#ifdef __cplusplus
}
#endif

#endif
