/*
 * qor: discrete Fourier transforms through descriptors.
 *
 * A descriptor describes one transform, or a batch of transforms of the
 * same shape: precision, forward domain, lengths, storage, placement,
 * strides, distances and scales. It is created, configured, committed (the
 * plan is made then), used for any number of transforms, and freed:
 *
 *   qor_dft_handle h = NULL;
 *   qor_dft_create_1d(&h, QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, 1000);
 *   qor_dft_set_value(h, QOR_DFT_BACKWARD_SCALE, 1.0 / 1000);
 *   qor_dft_commit(h);
 *   qor_dft_forward(h, x);   x: 1000 interleaved complex doubles, in place
 *   qor_dft_backward(h, x);  x is back to what it was, up to rounding
 *   qor_dft_free(&h);
 *
 * The forward transform is y[k] = fs * sum_j x[j] exp(-2 pi i j k / n), the
 * backward one uses exp(+2 pi i j k / n) and its own scale; both scales are
 * 1 by default.
 *
 * Supported now: the complex domain, rank 1, any number of transforms,
 * interleaved storage (QOR_DFT_COMPLEX_COMPLEX) and split storage (real and
 * imaginary parts in two arrays, QOR_DFT_REAL_REAL), in place or out of
 * place, single and double precision. Descriptors of the real domain or of
 * rank above 1 can be created and configured, but committing them gives
 * QOR_DFT_UNSUPPORTED, as does a commit with forward- or backward-domain
 * strides or distances set.
 *
 * Every function returns a status (below); qor_dft_error_message() gives
 * its text. A call that fails changes nothing the caller owns: handles,
 * output arguments and data arrays keep their contents.
 */
#ifndef QOR_DFT_H
#define QOR_DFT_H

#include <stdint.h>

#include "qor/qor.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qor_dft_descriptor* qor_dft_handle;

/* ---- Statuses ------------------------------------------------------------ */
enum {
  QOR_DFT_OK = 0,
  QOR_DFT_NO_MEMORY = 1,
  QOR_DFT_INVALID_DESCRIPTOR = 2, /* null handle, or not a descriptor */
  QOR_DFT_BAD_VALUE = 3,          /* a value not allowed, or an inconsistent configuration */
  QOR_DFT_BAD_PARAMETER = 4,      /* unknown or read-only parameter, or a call of the wrong type */
  QOR_DFT_BAD_FORMAT = 6,         /* packed format not supported by the transform */
  QOR_DFT_UNSUPPORTED = 7,        /* not supported (yet), or an internal failure */
  QOR_DFT_NOT_COMMITTED = 8,
  QOR_DFT_LENGTH_LIMIT = 9,       /* a length beyond the longest transform supported */
  QOR_DFT_NULL_ARGUMENT = 10,
  QOR_DFT_WRONG_FORM = 11         /* compute call not matching placement and storage */
};

/* ---- Parameters ----------------------------------------------------------
 * Each parameter has one type, which set_value and get_value read or write
 * through their variadic argument:
 *   I  int64_t (set: the value; get: int64_t*)
 *   D  double (set: the value; get: double*); single-precision descriptors
 *      take their scales as double too
 *   A  int64_t array (set: const int64_t*; get: int64_t*)
 *   S  text (set: const char*; get: char* of the size given below)
 * RO marks the read-only parameters. Stride arrays have rank + 1 entries:
 * entry 0 is the offset of the first element, entry i the stride of
 * dimension i; offsets, strides and distances count elements (complex
 * elements for interleaved storage, reals for split storage). */
enum {
  QOR_DFT_FORWARD_DOMAIN = 0,          /* I RO  QOR_DFT_COMPLEX or QOR_DFT_REAL */
  QOR_DFT_PRECISION = 1,               /* I RO  QOR_DFT_SINGLE or QOR_DFT_DOUBLE */
  QOR_DFT_RANK = 2,                    /* I RO */
  QOR_DFT_LENGTHS = 3,                 /* A RO  rank entries, the first the fastest dimension */
  QOR_DFT_FORWARD_SCALE = 4,           /* D     default 1 */
  QOR_DFT_BACKWARD_SCALE = 5,          /* D     default 1 */
  QOR_DFT_NUMBER_OF_TRANSFORMS = 6,    /* I     1 or more; default 1 */
  QOR_DFT_COMPLEX_STORAGE = 7,         /* I     QOR_DFT_COMPLEX_COMPLEX (default) or QOR_DFT_REAL_REAL */
  QOR_DFT_REAL_STORAGE = 8,            /* I     QOR_DFT_REAL_REAL */
  QOR_DFT_PLACEMENT = 9,               /* I     QOR_DFT_INPLACE (default) or QOR_DFT_NOT_INPLACE */
  QOR_DFT_CONJUGATE_EVEN_STORAGE = 10, /* I     QOR_DFT_COMPLEX_COMPLEX (default) or QOR_DFT_COMPLEX_REAL */
  QOR_DFT_INPUT_STRIDES = 11,          /* A     default: offset 0, packed dimensions */
  QOR_DFT_OUTPUT_STRIDES = 12,         /* A     the same; ignored in place, where the input's serve */
  QOR_DFT_INPUT_DISTANCE = 13,         /* I     between transforms of a batch; default 0 */
  QOR_DFT_OUTPUT_DISTANCE = 14,        /* I     default 0 */
  QOR_DFT_FORWARD_STRIDES = 15,        /* A     forward-domain side; all 0 while not set */
  QOR_DFT_BACKWARD_STRIDES = 16,       /* A     backward-domain side */
  QOR_DFT_FORWARD_DISTANCE = 17,       /* I */
  QOR_DFT_BACKWARD_DISTANCE = 18,      /* I */
  QOR_DFT_ORDERING = 19,               /* I     QOR_DFT_ORDERED */
  QOR_DFT_TRANSPOSE = 20,              /* I     QOR_DFT_NONE */
  QOR_DFT_PACKED_FORMAT = 21,          /* I     QOR_DFT_CCE_FORMAT (default), _CCS_, _PACK_, _PERM_ */
  QOR_DFT_WORKSPACE = 22,              /* I     QOR_DFT_ALLOW (default), QOR_DFT_AVOID, QOR_DFT_NONE */
  QOR_DFT_DESTROY_INPUT = 23,          /* I     QOR_DFT_NONE (default) or QOR_DFT_ALLOW */
  QOR_DFT_DESCRIPTOR_NAME = 24,        /* S     at most QOR_DFT_NAME_LENGTH bytes are kept */
  QOR_DFT_COMMIT_STATUS = 25,          /* I RO  QOR_DFT_COMMITTED or QOR_DFT_UNCOMMITTED */
  QOR_DFT_THREAD_LIMIT = 26,           /* I     0 (no limit, the default) or more; read on a
                                                committed descriptor: the threads its plan uses */
  QOR_DFT_VERSION = 27                 /* S RO  the library's version text */
};

/* Text sizes: a name keeps at most QOR_DFT_NAME_LENGTH bytes, and get_value
 * writes it with a terminating zero, so its buffer needs one byte more; the
 * version buffer needs QOR_DFT_VERSION_LENGTH bytes, the zero included. */
#define QOR_DFT_NAME_LENGTH 10
#define QOR_DFT_VERSION_LENGTH 200

/* ---- Values ----------------------------------------------------------------
 * 64-bit constants, so that they pass safely through set_value's variadic
 * argument. A plain int literal passed there must be cast to int64_t. */
#define QOR_DFT_COMMITTED INT64_C(30)
#define QOR_DFT_UNCOMMITTED INT64_C(31)
#define QOR_DFT_COMPLEX INT64_C(32)
#define QOR_DFT_REAL INT64_C(33)
#define QOR_DFT_SINGLE INT64_C(35)
#define QOR_DFT_DOUBLE INT64_C(36)
#define QOR_DFT_COMPLEX_COMPLEX INT64_C(39) /* interleaved complex */
#define QOR_DFT_COMPLEX_REAL INT64_C(40)    /* packed real result */
#define QOR_DFT_REAL_REAL INT64_C(42)       /* split arrays, or plain real */
#define QOR_DFT_INPLACE INT64_C(43)
#define QOR_DFT_NOT_INPLACE INT64_C(44)
#define QOR_DFT_ORDERED INT64_C(48)
#define QOR_DFT_ALLOW INT64_C(51)
#define QOR_DFT_AVOID INT64_C(52)
#define QOR_DFT_NONE INT64_C(53)
#define QOR_DFT_CCS_FORMAT INT64_C(54)
#define QOR_DFT_PACK_FORMAT INT64_C(55)
#define QOR_DFT_PERM_FORMAT INT64_C(56)
#define QOR_DFT_CCE_FORMAT INT64_C(57)

/* ---- Life of a descriptor -------------------------------------------------
 * create: `rank` of 1 or more and `rank` lengths of 1 or more, the first the
 * fastest dimension; *h gets the new, uncommitted descriptor. create_1d is
 * the same with one length. */
QOR_API int qor_dft_create(qor_dft_handle* h, int64_t precision, int64_t domain, int64_t rank,
                           const int64_t* lengths);
QOR_API int qor_dft_create_1d(qor_dft_handle* h, int64_t precision, int64_t domain, int64_t length);

/* Setting a value that the plan depends on uncommits the descriptor;
 * setting the value it already has, or the name, does not. The variadic
 * forms read or write one argument of the parameter's type; the typed forms
 * fail with QOR_DFT_BAD_PARAMETER for a parameter of another type. */
QOR_API int qor_dft_set_value(qor_dft_handle h, int param, ...);
QOR_API int qor_dft_get_value(qor_dft_handle h, int param, ...);
QOR_API int qor_dft_set_value_int(qor_dft_handle h, int param, int64_t value);
QOR_API int qor_dft_set_value_double(qor_dft_handle h, int param, double value);
QOR_API int qor_dft_set_value_array(qor_dft_handle h, int param, const int64_t* values);
QOR_API int qor_dft_set_value_text(qor_dft_handle h, int param, const char* text);
QOR_API int qor_dft_get_value_int(qor_dft_handle h, int param, int64_t* value);
QOR_API int qor_dft_get_value_double(qor_dft_handle h, int param, double* value);
QOR_API int qor_dft_get_value_array(qor_dft_handle h, int param, int64_t* values);
QOR_API int qor_dft_get_value_text(qor_dft_handle h, int param, char* text);

/* Makes the plan. Committing a committed descriptor does nothing. On
 * failure the descriptor stays uncommitted and keeps its configuration. */
QOR_API int qor_dft_commit(qor_dft_handle h);

/* *copy gets a new descriptor with the configuration (name included) of
 * `src`; it is committed when `src` is. */
QOR_API int qor_dft_copy(qor_dft_handle src, qor_dft_handle* copy);

/* Frees the descriptor and sets *h to null. */
QOR_API int qor_dft_free(qor_dft_handle* h);

/* ---- Transforms ------------------------------------------------------------
 * The form must match the committed placement and storage:
 *   interleaved, in place       qor_dft_forward(h, x)
 *   interleaved, out of place   qor_dft_forward_out(h, in, out)
 *   split, in place             qor_dft_forward_split(h, re, im)
 *   split, out of place         qor_dft_forward_split_out(h, in_re, in_im, out_re, out_im)
 * Elements are qor_complex16 / qor_complex8 pairs (interleaved) or doubles /
 * floats (split), as the precision says. Inputs are read only, unless
 * QOR_DFT_DESTROY_INPUT allows the transform to use them as scratch. */
QOR_API int qor_dft_forward(qor_dft_handle h, void* x);
QOR_API int qor_dft_forward_out(qor_dft_handle h, void* in, void* out);
QOR_API int qor_dft_forward_split(qor_dft_handle h, void* re, void* im);
QOR_API int qor_dft_forward_split_out(qor_dft_handle h, void* in_re, void* in_im, void* out_re, void* out_im);
QOR_API int qor_dft_backward(qor_dft_handle h, void* x);
QOR_API int qor_dft_backward_out(qor_dft_handle h, void* in, void* out);
QOR_API int qor_dft_backward_split(qor_dft_handle h, void* re, void* im);
QOR_API int qor_dft_backward_split_out(qor_dft_handle h, void* in_re, void* in_im, void* out_re, void* out_im);

/* ---- Statuses as text --------------------------------------------------------
 * error_message: the text of a status, shorter than 80 bytes; never null.
 * error_class: 1 when `status` is the error `error_class` (a status value
 * above), else 0; unknown values belong to no class. */
QOR_API const char* qor_dft_error_message(int status);
QOR_API int qor_dft_error_class(int status, int error_class);

#ifdef __cplusplus
}
#endif
#endif
