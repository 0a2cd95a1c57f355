/*
 * libkovral: splits a slap fingerprint image (up to four fingers side by
 * side, 8-bit gray, 500 ppi) into upright single-finger images.
 *
 * Typical use:
 *
 *   KOVRAL_Init(1600, 1500);                 // largest image you will split
 *   KOVRAL_INFO_ info[10];                   // always ten records ...
 *   for (int i = 0; i < 10; i++)             // ... each with its own buffer
 *       info[i].pFpImg = malloc(320 * 480);
 *   int count = 0;
 *   if (KOVRAL_DoSplit(img, w, h, 0, 320, 480, &count, info) == KOVRAL_OK)
 *       for (int i = 0; i < count; i++)      // left to right
 *           KOVRAL_SaveToBmp(info[i].pFpImg, 320, 480, name_of(i));
 *   KOVRAL_Uninit();
 *
 * Threading: the library has no thread of its own. One split at a time per
 * process: the caller serialises KOVRAL_DoSplit calls and does not run
 * KOVRAL_Init or KOVRAL_Uninit during a split (KOVRAL_Uninit does wait for
 * a split that is finishing). KOVRAL_SaveToBmp may run on any thread at any
 * time. No entry point throws.
 *
 * Splits on several threads at once: make a splitter per thread.
 *
 *   kovral_splitter* s = kovral_splitter_new(1600, 1500);
 *   kovral_split_options opt = {320, 480, KOVRAL_LOCATOR_EXACT};
 *   kovral_finger fingers[KOVRAL_MAX_FINGERS];  // each with its image buffer
 *   int32_t count = 0;
 *   if (kovral_split(s, img, w, h, &opt, fingers, &count, NULL) == KOVRAL_OK)
 *       ...                                     // as KOVRAL_DoSplit gives them
 *   kovral_splitter_free(s);
 */
#ifndef KOVRAL_H
#define KOVRAL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32)
#define KOVRAL_API
#else
#define KOVRAL_API __attribute__((visibility("default")))
#endif

#define KOVRAL_VERSION_MAJOR 1
#define KOVRAL_VERSION_MINOR 0
#define KOVRAL_VERSION_PATCH 0

/* Result codes of the entry points. */
enum kovral_result
{
    KOVRAL_OK = 1,          /* done (a split that found no finger included) */
    KOVRAL_JUDGE_RIGHT = 0, /* hand judgement: highest finger right of the lowest */
    KOVRAL_JUDGE_LEFT = 1,  /* hand judgement: highest finger left of the lowest */
    KOVRAL_EINVAL = -1,     /* an argument was refused, or no judgement possible */
    KOVRAL_ENOTINIT = -2,   /* KOVRAL_Init has not been called */
    KOVRAL_ENOMEM = -3,     /* a split could not get working memory */
    KOVRAL_EFILE = -3,      /* the BMP file could not be created */
    KOVRAL_ETOOBIG = -4     /* the image is larger than the splitter was made for */
};

/* Limits of a split request, in pixels. */
#define KOVRAL_MIN_WIDTH 256
#define KOVRAL_MAX_WIDTH 1600
#define KOVRAL_MIN_HEIGHT 360
#define KOVRAL_MAX_HEIGHT 1500

/* Number of records (and finger buffers) every split request carries. */
#define KOVRAL_MAX_RECORDS 10

/* Rectangle with 32-bit signed bounds. */
typedef struct tagRECT
{
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} tagRECT;

/* Point with 32-bit signed coordinates. */
typedef struct tagPOINT
{
    int32_t x;
    int32_t y;
} tagPOINT;

/* One finger of a split. */
typedef struct KOVRAL_INFO_
{
    int32_t x;       /* out: centre column in the source image, pixels */
    int32_t y;       /* out: centre row in the source image, pixels */
    int32_t angle;   /* out: axis angle in degrees, 90 upright, below 90 leaning right */
    uint8_t quality; /* out: 0..99; 0 when the centre is outside columns 110..1450 or rows 310..1320 */
    uint8_t* pFpImg; /* in: caller's buffer of outW x outH bytes; out: the upright finger */
} KOVRAL_INFO_;

/*
 * Allocates the two block maps for images of up to w x h pixels (a split
 * then accepts any image whose pixel count is at most w x h). A second call
 * while initialised changes nothing, even with larger sizes.
 * Sizes of 0 or less leave the library uninitialised; so does a failed
 * allocation (nothing is leaked). Sizes whose product exceeds the int range
 * get maps of the full size; a split then compares its pixel count with that
 * product wrapped to 32 bits, so it may refuse every image (65536 x 65536
 * wraps to 0).
 *
 * @return KOVRAL_OK (1) in every case.
 */
KOVRAL_API int KOVRAL_Init(int w, int h);

/*
 * Releases the block maps. Waits up to about one second for a split that is
 * running on another thread; if that split is still running then, the maps
 * are handed to it and released when it returns. Does nothing when the
 * library is not initialised.
 */
KOVRAL_API void KOVRAL_Uninit(void);

/*
 * Splits the slap image img (w x h bytes, row-major, no padding) into up to
 * four upright finger images, left to right.
 *
 * w: 256..1600, h: 360..1500, w * h at most the pixel count given to
 * KOVRAL_Init. outW x outH: size of every finger buffer, at least 256 x 360
 * and at most w x h. reserved: never read (any value, an invalid pointer
 * included). pCount receives the number of
 * fingers (0..4). pInfo: an array of ten records, every one carrying a
 * buffer of outW x outH bytes; the first *pCount are filled, the others and
 * their buffers are not touched. The caller keeps ownership of everything.
 * Only the first h rounded down to a multiple of 16 rows take part; when outH
 * is larger than that, a finger within 4 degrees of upright cannot be copied
 * as a window, and its buffer is cleaned and scored as the caller left it.
 *
 * @return KOVRAL_OK       split done (*pCount may be 0: no finger found)
 * @return KOVRAL_EINVAL   a null pointer, a size outside the limits above,
 *                         or an image larger than the initialised size;
 *                         nothing is written
 * @return KOVRAL_ENOTINIT the library is not initialised; nothing is written
 * @return KOVRAL_ENOMEM   working memory for cutting out or cleaning the
 *                         fingers could not be had; *pCount holds the number
 *                         of fingers found, no record field is written, and
 *                         finger buffers may hold partial results
 *
 * When memory runs short a split still returns normally and releases all it
 * took: a failed allocation while locating fingers only costs fingers (down
 * to a count of 0 with KOVRAL_OK) or reports a finger as upright (angle 90);
 * one while cutting out or cleaning fingers gives KOVRAL_ENOMEM.
 */
KOVRAL_API int KOVRAL_DoSplit(unsigned char* img, int w, int h, void* reserved, int outW, int outH, int* pCount,
                              KOVRAL_INFO_* pInfo);

/*
 * Tells the hand layout of a four-finger split from its records (in the
 * order the split gave them). The centres are turned about the lower-left
 * image corner so that the mean angle stands upright; then the highest and
 * the lowest finger are compared. Reads x, y and angle only.
 *
 * @return KOVRAL_JUDGE_LEFT (1)  the highest finger comes before the lowest
 * @return KOVRAL_JUDGE_RIGHT (0) the highest finger comes after the lowest
 * @return KOVRAL_EINVAL   count is not 4 (3 is checked but never judged),
 *                         pInfo is null, or all four turned rows are equal
 * @return KOVRAL_ENOTINIT the library is not initialised (count 3 or 4)
 */
KOVRAL_API int KOVRAL_JudegeFingers(int count, KOVRAL_INFO_* pInfo);

/*
 * Writes the w x h gray image img as an uncompressed 8-bit BMP with a gray
 * palette to path, replacing any existing file. Works in any library state.
 * An image whose padded size (w rounded up to a multiple of 4, times h, plus
 * 1078) exceeds 32 bits is still written, with its size fields modulo 2^32.
 * Once the file is open the result is KOVRAL_OK even if a write fails (a full
 * disk).
 *
 * @return KOVRAL_OK     the file was written
 * @return KOVRAL_EINVAL img or path is null, or w or h is below 4; no file
 *                       is created
 * @return KOVRAL_EFILE  the file could not be created
 */
KOVRAL_API int KOVRAL_SaveToBmp(unsigned char* img, int w, int h, const char* path);

/*
 * Corners, in source pixels, of the region that a split cut out for a finger
 * it reported at centre (x, y) with this angle, from an image_width x
 * image_height slap into finger_width x finger_height buffers; written in
 * the order top left, top right, bottom left, bottom right, top being the
 * fingertip end. Computed by the same geometry as the cut: a finger within 4
 * degrees of upright, or a buffer as wide as the image or as high as its
 * rows used (image_height rounded down to a multiple of 16), was copied as
 * a plain window, and the corners are that window exactly (right and bottom
 * one past the last pixel; a window larger than the rows used was not
 * copied). Any other finger was turned upright: the corners are those of
 * the finger buffer about the centre, turned back by the angle of the cut
 * (fingers above 134 degrees are turned by 45 only); the cut places the
 * finger's content within its buffer, so the true region may lie a few
 * pixels off. Needs no library state; any thread, any time.
 *
 * @return KOVRAL_OK     corners written
 * @return KOVRAL_EINVAL corners is null, the sizes are not those of a valid
 *                       split request (KOVRAL_DoSplit), or the centre lies
 *                       outside the image; nothing written
 */
KOVRAL_API int32_t kovral_finger_corners(int32_t image_width, int32_t image_height, int32_t finger_width,
                                         int32_t finger_height, int32_t x, int32_t y, int32_t angle,
                                         tagPOINT corners[4]);

/* ---- Splitters: splits on any number of threads at once ---- */

/* Fingers a split reports at most. */
#define KOVRAL_MAX_FINGERS 4

/* How a split finds the fingers. */
enum kovral_locator
{
    KOVRAL_LOCATOR_EXACT = 0,   /* KOVRAL_DoSplit's locator: the same results, bit for bit */
    KOVRAL_LOCATOR_ACCURATE = 1 /* finds more fingers (touching, faint, cut by the border) and skips text, lines
                                   and holes; reports confidence, flags, hand and deficiencies. Fingers are cut
                                   about their fingertip centre; a split allocates working memory */
};

/* Flags of one finger (the accurate locator sets them; the exact one leaves 0). */
#define KOVRAL_FINGER_CUT_BY_BORDER 0x1u
#define KOVRAL_FINGER_TOUCHING 0x2u
#define KOVRAL_FINGER_FAINT 0x4u

/* Deficiencies of a slap (kovral_slap_report; the accurate locator finds them). */
#define KOVRAL_DEFICIENCY_ARTIFACTS 0x1u     /* text, lines, marks or halos were rejected */
#define KOVRAL_DEFICIENCY_LOW_CONTRAST 0x2u  /* a fingertip is faint */
#define KOVRAL_DEFICIENCY_OVER_INKED 0x4u    /* fingertips too dark to show valleys */
#define KOVRAL_DEFICIENCY_SIDEWAYS 0x8u      /* the hand leans by more than 30 degrees */
#define KOVRAL_DEFICIENCY_OVER_ROTATED 0x10u /* by more than 45 degrees */
#define KOVRAL_DEFICIENCY_INCOMPLETE 0x20u   /* a finger is missing or cut by the border */

/* Hand layouts of a kovral_slap_report. */
#define KOVRAL_HAND_UNKNOWN 0
#define KOVRAL_HAND_RIGHT 1 /* a right hand's four fingers: index leftmost */
#define KOVRAL_HAND_LEFT 2  /* a left hand's four fingers: little finger leftmost */
#define KOVRAL_HAND_THUMBS 3

/* Holds the block maps and all work memory of splits up to a given size;
 * one split at a time per splitter. */
typedef struct kovral_splitter kovral_splitter;

typedef struct kovral_split_options
{
    int32_t finger_width;  /* width of every finger buffer (outW of KOVRAL_DoSplit) */
    int32_t finger_height; /* height (outH) */
    int32_t locator;       /* enum kovral_locator */
} kovral_split_options;

/* One finger of a split. */
typedef struct kovral_finger
{
    int32_t x;          /* out: centre column in the source image, pixels */
    int32_t y;          /* out: centre row */
    int32_t angle;      /* out: axis angle in degrees, 90 upright, below 90 leaning right */
    int32_t quality;    /* out: 0..99, as KOVRAL_INFO_ */
    uint8_t* image;     /* in: caller's buffer of finger_width x finger_height bytes; out: the upright finger */
    int32_t confidence; /* out: 0..100 that this is a finger; the exact locator gives 100 */
    uint32_t flags;     /* out: KOVRAL_FINGER_* */
} kovral_finger;

/* What a split found about the slap as a whole. */
typedef struct kovral_slap_report
{
    int32_t hand;            /* KOVRAL_HAND_*; the exact locator judges four fingers as KOVRAL_JudegeFingers does */
    int32_t hand_confidence; /* 0..100; the exact locator gives 100 for a judged hand, else 0 */
    uint32_t deficiencies;   /* KOVRAL_DEFICIENCY_* bits (accurate locator; exact: 0) */
    int32_t rejected_count;  /* regions rejected as not fingers (accurate locator; exact: 0) */
    tagRECT rejected[8];     /* their boxes, source pixels */
} kovral_slap_report;

/*
 * Makes a splitter for images up to max_width x max_height pixels (each
 * within the split limits above). It reserves everything a split of that
 * size needs: a split on it with the exact locator never allocates memory.
 *
 * @return the splitter, or NULL when a size is outside the limits or memory
 *         runs short
 */
KOVRAL_API kovral_splitter* kovral_splitter_new(int32_t max_width, int32_t max_height);

/* Releases a splitter; NULL is fine. Not during a split on it. */
KOVRAL_API void kovral_splitter_free(kovral_splitter* splitter);

/*
 * Splits the slap image (width x height bytes, row-major, no padding) into
 * up to four upright fingers, left to right, as KOVRAL_DoSplit does: with
 * KOVRAL_LOCATOR_EXACT the same result, count, fingers and bytes, bit for
 * bit (the requests differ only in their limits below). Needs no
 * KOVRAL_Init; splits on different splitters may run at the same time on
 * different threads. Reads nothing but its arguments, writes nothing but
 * its outputs (not the library's exported maps).
 *
 * width: 256..1600, height: 360..1500, both at most the splitter's size.
 * options: finger buffers at least 256 x 360 and at most width x height.
 * fingers: four records, each carrying an image buffer of finger_width x
 * finger_height bytes; the first *count are filled (x, y, angle, quality,
 * confidence, flags and the image), the others are not touched. Buffers
 * that take part are overwritten as KOVRAL_DoSplit overwrites them (a
 * finger that cannot be cut as a window, see there, keeps the caller's
 * bytes, cleaned). report: may be NULL; written when the split succeeds.
 *
 * @return KOVRAL_OK      split done (*count may be 0: no finger found)
 * @return KOVRAL_EINVAL  a null pointer (splitter, image, options, fingers,
 *                        count or one of the four finger buffers), a size
 *                        outside the limits, or a locator this build does
 *                        not have; nothing is written
 * @return KOVRAL_ETOOBIG the image is wider or higher than the splitter;
 *                        nothing is written
 * @return KOVRAL_ENOMEM  working memory could not be had (not for a request
 *                        within the splitter's size); as KOVRAL_DoSplit
 */
KOVRAL_API int32_t kovral_split(kovral_splitter* splitter, const uint8_t* image, int32_t width, int32_t height,
                                const kovral_split_options* options, kovral_finger fingers[KOVRAL_MAX_FINGERS],
                                int32_t* count, kovral_slap_report* report);

/*
 * Hand layout of four fingers in the order a split gave them, by the rule of
 * KOVRAL_JudegeFingers with the centres turned about (0, 1500). Reads x, y
 * and angle only; needs no library state.
 *
 * @return KOVRAL_JUDGE_LEFT (1)  the highest finger comes before the lowest
 *                                (a right hand, index finger leftmost)
 * @return KOVRAL_JUDGE_RIGHT (0) the highest finger comes after the lowest
 * @return KOVRAL_EINVAL          count is not 4, fingers is null, or all four
 *                                turned rows are equal
 */
KOVRAL_API int32_t kovral_judge_hand(const kovral_finger* fingers, int32_t count);

/* A short English text for a result code of any entry point; never NULL. */
KOVRAL_API const char* kovral_result_text(int32_t result);

#ifdef __cplusplus
}
#endif

#endif /* KOVRAL_H */
