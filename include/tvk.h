/* SPDX-License-Identifier: BSD-2-Clause */
/**
 * @file
 * tvk: decoding of MPEG-1 and MPEG-2 video, the public interface and its manual.
 *
 * INTRODUCTION
 *
 * A program hands the library a VideoSource, a table of functions that deliver coded pictures, and gets a VideoStream.
 * It then steps through the stream and reads one VideoFrame after the other. The library opens no media file;
 * tvk_source.h, a library of its own, makes sources of video in files, in memory and from pipes.
 *
 * This program writes the luma samples of all frames to its standard output:
 *
 *     #include <stdio.h>
 *     #include "tvk.h"
 *     #include "tvk_source.h"
 *
 *     int main(int argc, char **argv) {
 *         VideoSource *source;
 *         VideoStream *stream;
 *         VideoFrame *frame;
 *         int32_t code;
 *
 *         if (argc < 2) return 2;
 *         code = tvkOpenFileSource(&source, argv[1]);
 *         if (code != 0) {
 *             fprintf(stderr, "%s: %s\n", argv[1], tvkSourceErrorText(code));
 *             return 1;
 *         }
 *         code = tvkCreateVideoStream(&stream, source);
 *         if (code == 0) {
 *             tvkSetVideoSP_Precision(stream, 1);
 *             tvkSetVideoSP_Threads(stream, 2);
 *             while ((code = tvkGetNextVideoFrame(stream, &frame)) == 0) {
 *                 const VideoPlane *luma = &frame->lumaPlane;
 *                 for (int32_t y = 0; y < luma->height; ++y)
 *                     fwrite(luma->data + (size_t)luma->stride * (size_t)y, 1, (size_t)luma->width, stdout);
 *             }
 *             tvkDestroyVideoStream(stream);
 *         }
 *         tvkCloseSource(source);
 *         if (code == tvkErrEndOfStream) return 0;
 *         fprintf(stderr, "%s: error %d\n", argv[1], (int)code);
 *         return 1;
 *     }
 *
 * RESULTS. Every call returns 0 for success or a negative code. Results go through pointers. A call that asks for a
 * frame sets its pointer to null when it fails; other outputs are left as they were unless the call says otherwise. A
 * setting that is refused stays as it was.
 *
 * CHECKS. A call with a stream first checks the handle: tvkErrInvalidArgument for null, tvkErrBadHandle for a pointer
 * that is no live stream, tvkErrBusy while a step, a jump or a scan is running on it. These codes are not repeated
 * below. Nothing has changed when they are returned. Null for any other pointer gives tvkErrInvalidArgument, with
 * nothing done, unless the call says otherwise.
 *
 * THREADS. One thread at a time uses a stream; different streams are independent. tvkErrBusy is a tripwire for calls
 * out of a callback or from another thread and replaces no lock. Calls marked "May run beside a step" do without that
 * test: another thread may make them during a step. They read single words without synchronisation, so that several
 * values need not belong together, and they must not overlap with the stream's destruction. Calls without a stream may
 * run on any thread, as long as nobody writes what they read.
 *
 * OWNERSHIP. The library owns streams and all that they point at. The caller owns the VideoSource, the frame list, and
 * the frames made with tvkCreateVideoFrame, tvkCreateVideoFrameWHC or tvkDuplicateVideoFrame, and destroys what it has
 * made. A frame that a stream hands out belongs to the stream: read it, do not destroy it. It holds its picture until
 * the next call that steps, jumps, takes coded bytes, sets the ring's sizes or destroys the stream. Copy what is needed
 * longer.
 *
 * FRAME NUMBERS. A frame number counts the frames of the stream in display order, from 1. Every frame counts, decoded
 * or passed over. Two field pictures that make up one frame count once, a repeated field or frame counts nothing: what
 * is counted is coded frames, not display periods. Pictures ahead of the first sequence header do not count, nor do
 * steps count a picture without any slice, which an index table does. Numbers are exact as long as the stream is
 * stepped through from its start or entered through an index table. A jump without an index, and any jump to an
 * AbsPosition, makes the numbers behind it estimates: the rate position times the expected number of frames.
 * `streamNumber` counts the same frames in coded order.
 *
 * UNITS. Rate positions are shares of the stream from 0.0 to 1.0, as the source measures them. Times are seconds. Bit
 * rates are bits per second. Sizes and strides are bytes unless samples are named. A start code is named by its value
 * with 0x100 added: 256 picture, 257 to 431 slice, 434 user data, 435 sequence header, 437 extension, 439 sequence end,
 * 440 group of pictures.
 *
 * DAMAGE. No input harms the process. An invalid code ends its slice, the frame is delivered with what it holds, and
 * the user callback is told. Nothing is concealed and no call fails for it.
 */
#ifndef TVK_H
#define TVK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Marks an exported function. */
#if defined(__GNUC__)
#define TVK_API __attribute__((visibility("default")))
#else
#define TVK_API
#endif

/**
 * @defgroup errors Errors
 *
 * The library's own codes. Any other negative code is one of the source, handed on as it came.
 * @{
 */

/** Codes that calls return. */
enum {
    /** No data came after a seek, or the index table has no entry that the call could start from. */
    tvkErrFailed = -1,
    /** Memory could not be allocated, or a plane would take 2 GiB or more. */
    tvkErrOutOfMemory = -2,
    /** The two thread calls on a stream of another coding family, in place of tvkErrWrongDecoderKind. */
    tvkErrNoThreads = -3,
    /** A null pointer, or a value outside the accepted set. */
    tvkErrInvalidArgument = -7,
    /** A user callback is set and the reduce coefficient is 8. A warning: the setting has been made. */
    tvkErrCallbackReduce = -8,
    /** A rate outside 0.0 to 1.0, a negative time, a layer outside 480 to 495. */
    tvkErrPositionOutOfRange = -9,
    /** A picture file could not be created. */
    tvkErrSaveCreate = -11,
    /** Writing a picture file failed. */
    tvkErrSaveWrite = -12,
    /** Creation: the source does not describe a single video stream of a known kind. */
    tvkErrStreamLayout = -13,
    /** Creation: the source describes no video stream. Else: a call for another coding family. */
    tvkErrWrongDecoderKind = -14,
    /** The handle is no live stream. */
    tvkErrBadHandle = -15,
    /** A step is running on the stream. */
    tvkErrBusy = -16,
    /** No frame can be made before a sequence header has told the size. */
    tvkErrNoSequenceHeader = -17,
    /** A setting of video object planes, which MPEG-1 and MPEG-2 do not have. */
    tvkErrNoVOP = -18,
    /** There is no further frame: the input has ended or the ring has run out. */
    tvkErrEndOfStream = -20,
    /** An index file could not be created or not be written in full. */
    tvkErrFileCreate = -22,
    /** An index file could not be opened. */
    tvkErrFileOpen = -23,
    /** An index file is of another stream or stream size, or is damaged. */
    tvkErrIndexFile = -24,
    /** The call needs an index table that reaches far enough. */
    tvkErrNotIndexed = -25,
    /** Raw files: the frame has no known chroma format. */
    tvkErrSavePath = -26,
    /** tvkGetLastFrameNumber met no group of pictures and so no time code. */
    tvkErrNoTimeCode = -1001,
    /** Returned by a source's readUnit for a unit that does not fit the buffer; the library never returns it. */
    tvkErrBufferTooSmall = -1009,
    /** A frame list whose numbers do not rise. */
    tvkErrFrameListOrder = -2001,
    /** A command of adjustable speed outside work mode 1. */
    tvkErrWrongWorkMode = -2002,
    /** A step back from frame 1, or with nothing delivered. */
    tvkErrNoPreviousFrame = -2003,
    /** A frame number outside the stream, or behind the frame from which it would have to be reached. */
    tvkErrFrameOutOfRange = -2004,
    /** The ring of decoded frames is off or not built yet. */
    tvkErrBufferDisabled = -2005,
    /** Reserved: nothing returns it. */
    tvkErrInputAborted = -2006,
    /** Nothing has been decoded yet, so there is no frame to hand out or to put coded bytes in. */
    tvkErrNoFrameYet = -2007,
    /** Work mode 2: the frame list is used up, or has no earlier frame. */
    tvkErrFrameListEnd = -2008,
    /** The source has no data at the moment. Step again: the stream goes on where it stood, nothing is lost. */
    tvkErrNeedData = -2009,
    /** A worker thread could not be started. Setting another number of threads makes the stream usable again. */
    tvkErrWorkerFailed = -2010
};

/** @} */

/**
 * @defgroup records Records
 *
 * What crosses the boundary. Members have their natural alignment.
 * @{
 */

/** A decoder instance. Its contents are the library's. */
typedef struct VideoStream VideoStream;

/** One plane of a frame: rows from the top, `stride` bytes apart, with no border around the picture. */
typedef struct VideoPlane {
    int32_t width;  /**< bytes of picture in a row */
    int32_t height; /**< rows of picture */
    int32_t stride; /**< bytes from one row to the next, a multiple of 32 */
    int32_t size;   /**< bytes at `data`; in a frame of coded bytes, how many there are */
    uint8_t *data;  /**< the samples, 32-byte aligned */
} VideoPlane;

/**
 * A picture, or coded bytes. The library makes and frees these records; applications read them.
 *
 * For a picture of W x H samples, with A(n) for n rounded up to a multiple of 32:
 *
 * | chromaFormat | luma rows, columns | stored at | chroma rows, bytes in a row | stored at        |
 * |--------------|--------------------|-----------|-----------------------------|------------------|
 * | 1 (4:2:0)    | H, W               | A(H), A(W)| H / 2, W                    | A(A(H) / 2), A(W)|
 * | 2 (4:2:2)    | H, W               | A(H), A(W)| H, W                        | A(H), A(W)       |
 * | 3 (4:4:4)    | H, W               | A(H), A(W)| H, 2 W                      | A(H), 2 A(W)     |
 *
 * Luma is one byte a sample. The chroma plane holds byte pairs Cb, Cr. Rows and columns behind the visible picture hold
 * what is left of the macroblocks at its edge.
 */
typedef struct VideoFrame {
    int32_t chromaFormat;      /**< 1 4:2:0, 2 4:2:2, 3 4:4:4 */
    int32_t pictureCodingType; /**< 1 I, 2 P, 3 B, 4 D; 0 in a new record */
    int32_t reduceCoefficient; /**< 1, 2, 4 or 8: W and H are the coded sizes divided by it, rounded up */
    int32_t frameNumber;       /**< place in display order, from 1; see FRAME NUMBERS */
    int32_t streamNumber;      /**< place in coded order, from 1 */
    int32_t frameState;        /**< 0 new or in work, 1 delivered, 2 decoded and not delivered yet */
    /** Rate position of the picture's start code; -1.0 when the source could not tell. The one member that
     * tvkCopyVideoFrame leaves alone, and so 0.0 in frames out of the ring. */
    double decodeRatePosition;
    /** Rate position of the input when the frame was delivered; decodeRatePosition when the source could not tell. */
    double deliveryRatePosition;
    /** Seconds. Steps of work mode 0 give a frame its unit's time stamp. A frame without one counts on from the frame
     * that got one last, by temporal reference, and has 0.0 when its reference is no higher: only a source that stamps
     * its units gives times to rely on. Other steps count frame durations from the stream's clock. */
    double presentationTime;
    VideoPlane lumaPlane;     /**< luma, or the coded bytes of tvkGetNextVideoFrameBin and tvkGetSequenceHeader */
    VideoPlane chromaPlane;   /**< Cb, Cr byte pairs */
    int32_t bufferSlot;       /**< the slot drawn for the memory manager, -1 when none was free; 0 without a manager */
    void *externalBuffer;     /**< the buffer that the memory manager supplied, or null */
    int32_t progressiveFrame; /**< progressive_frame; always 1 in MPEG-1 */
    int32_t topFieldFirst;    /**< top_field_first; always 0 in MPEG-1 */
    int32_t repeatFirstField; /**< repeat_first_field; always 0 in MPEG-1 */
    int32_t userDataLevel;    /**< 3 when there is user data, else 0 */
    int32_t userDataSize;     /**< bytes in userData */
    /** The user data behind the picture header, blocks without their start codes, 00 00 01 B2 between two of them. A
     * block with which the sum would reach 65,535 bytes is left out. */
    uint8_t userData[65540];
} VideoFrame;

/** A position of the source, with a meaning of the source's own. All zero stands for no position. The sum of the second
 * and third word has to rise along the stream. */
typedef struct AbsPosition {
    uint32_t words[3]; /**< the source's */
} AbsPosition;

/** A layer of the source that can be decoded. */
typedef struct VideoLayer {
    uint32_t layerId;     /**< 480 to 495: stream id E0 to EF (hexadecimal) with 0x100 added */
    uint32_t reserved;    /**< not used */
    uint32_t layerUsable; /**< 1 when the layer may be chosen */
} VideoLayer;

/** What a source says about itself. The caller of `describe` zeroes it and provides `layers`. */
typedef struct StreamDescription {
    uint32_t containerKind;    /**< 0 unknown, 1 video elementary stream, 2 multiplex */
    uint32_t layerKind;        /**< 0, 1 or 2; creation refuses others */
    uint32_t videoStreamCount; /**< video streams; creation asks for 1 */
    uint32_t reserved;         /**< not used */
    uint32_t layerCount;       /**< layers written */
    uint32_t layerCapacity;    /**< room in `layers`, set by the caller; 0 when there is no array */
    VideoLayer *layers;        /**< the caller's array, or null */
} StreamDescription;

/**
 * One coded picture, as a source delivers it.
 *
 * A unit ends right behind a picture start code: those four bytes are its last, and code 256 is the last entry of its
 * table. The next unit begins with the first bit of that picture's header. A unit thus holds one picture's header,
 * extensions and slices, then the headers ahead of the next picture, and that picture's start code. Only the first unit
 * begins at the stream's first byte, and only the last one ends at its last.
 */
typedef struct PictureUnit {
    uint32_t startCodes[4096];   /**< source: the start codes in stream order, as UNITS names them */
    uint32_t startOffsets[4096]; /**< source: offset in `buffer` of each code's 00 00 01 prefix */
    int32_t entryCount;          /**< source: entries in both arrays */
    int32_t currentEntry;        /**< library: the next entry to take */
    int32_t firstSlice;          /**< source: entry of the picture's first slice */
    int32_t lastSlice;           /**< source: entry of its last slice; decoding goes on behind it */
    int32_t sliceCount;          /**< source: slice entries from firstSlice on, one behind the other */
    uint8_t *buffer;             /**< the coded bytes; library, or source with parameter 8 */
    int32_t capacity;            /**< library: bytes at `buffer` */
    int32_t resumeOffset;        /**< library: where in `buffer` a read goes on, 0 for a fresh unit */
    double timeStamp;            /**< source: presentation time in seconds, exactly -1.0 for none */
} PictureUnit;

/** @} */

/**
 * @defgroup source Source
 *
 * The operations that the application provides.
 *
 * All slots but the reserved ones have to be filled. The first argument is the table itself, so that a source puts the
 * table at the head of a record of its own. Results: 0 for success, a negative code of the source's choice for failure;
 * codes of `describe`, `openClose`, `setParameter` and of positions reach the application unchanged.
 *
 * Operations are called by the thread that makes the call to the library, never by a worker thread, and reads never
 * overlap. A call that may run beside a step and needs the source calls it beside a step.
 *
 * The table stays the application's. It has to live, and its source to work, until the stream has been destroyed.
 *
 * Parameters of getParameter and setParameter:
 *
 * | number | direction | type             | meaning                                                          |
 * |--------|-----------|------------------|------------------------------------------------------------------|
 * | 0      | get       | 8 bytes          | identity of the stream, kept in index files                      |
 * | 8      | get       | uint32_t         | not 0: the source provides `buffer`; a failure counts as 0       |
 * | 9      | get, set  | int32_t          | the active layer, 480 to 495                                     |
 * | 11     | get       | uint32_t         | bit rate of the multiplex                                        |
 * | 12     | set       | uint32_t         | bit rate of the sequence header, told before every seek          |
 * | 14     | get       | 2 x uint32_t     | size of the stream in bytes, high word first                     |
 * @{
 */

/** A source of coded pictures. */
typedef struct VideoSource VideoSource;

/** The table of operations. */
struct VideoSource {
    /** Not called. */
    void *reserved0;
    /**
     * Delivers the next unit: its bytes, its table and its time stamp. `*byteCount` is 0 at entry and gets the number
     * of bytes written by this call.
     *
     * - Some bytes and 0: the unit is complete. Other failures than the next one are not looked at when bytes came.
     * - tvkErrBufferTooSmall: the unit goes on behind `capacity`. The library takes a larger buffer with the same
     *   contents and calls again with `resumeOffset` at the sum of the bytes so far; the source goes on there. The
     *   table is complete at the last call. A source with a buffer of its own does not return this.
     * - No bytes: the end of the stream, for whatever reason.
     * - `*byteCount` 0xFFFFFFFF: no data at the moment, nothing else written. The library calls again later.
     *
     * A unit may have 4 MiB; a larger one is taken for the end of the stream. With parameter 8 the source sets `buffer`
     * to a block that stays until the next read, seek, change of the layer or closing and is not written
     * to; otherwise `buffer` is the library's.
     */
    int32_t (*readUnit)(VideoSource *, uint32_t decoderId, PictureUnit *, uint32_t *byteCount);
    /** Fills the description, with `layerCapacity` layers at most. Called at creation, also before the source has been
     * opened, by tvkTestVideoStream, and where a number of frames is estimated. */
    int32_t (*describe)(VideoSource *, StreamDescription *);
    /** The position of the byte `unitOffset` of the unit read last. */
    int32_t (*getAbsPosition)(VideoSource *, uint32_t decoderId, uint32_t unitOffset, AbsPosition *out);
    /** Makes the next unit begin at the position. The application's positions and those of index files come as they
     * are, so a source tests them. */
    int32_t (*seekAbsPosition)(VideoSource *, uint32_t decoderId, const AbsPosition *);
    /** The rate position of the byte `unitOffset` of the unit read last. tvkGetRateVideoPosition alone passes a number
     * of 32-bit words in place of bytes. */
    int32_t (*getRatePosition)(VideoSource *, uint32_t decoderId, uint32_t unitOffset, double *out);
    /** Makes the next unit begin near the rate position, 0.0 to 1.0, best at a sequence header or group of pictures.
     * 0.0 is the stream's first byte. */
    int32_t (*seekRatePosition)(VideoSource *, uint32_t decoderId, const double *rate);
    /** Not called. */
    void *reserved7;
    /** The same by time, 0.0 or more. */
    int32_t (*seekTimePosition)(VideoSource *, uint32_t decoderId, const double *seconds);
    /** Stores parameter `number` at `out`. */
    int32_t (*getParameter)(VideoSource *, uint32_t decoderId, uint32_t number, void *out);
    /** Takes parameter `number` from `value`. */
    int32_t (*setParameter)(VideoSource *, uint32_t decoderId, uint32_t number, const void *value);
    void *reserved11; /**< Not called. */
    void *reserved12; /**< Not called. */
    void *reserved13; /**< Not called. */
    /**
     * `operation` 1 opens the source and may store a number in `*decoderId`, 2 closes it. Creation uses the number for
     * parameter 8 alone. Then all operations get 0 as decoderId, until tvkConnectVideoStream opens the source anew;
     * readUnit gets 0 always. A source has to accept 0.
     */
    int32_t (*openClose)(VideoSource *, uint32_t *decoderId, uint32_t operation);
};

/** @} */

/**
 * @defgroup facts Facts
 * @{
 */

/** Facts about a stream. */
typedef struct VideoStreamInfo {
    uint32_t streamType;      /**< 0 not known yet, 1 MPEG-1, 2 MPEG-2 */
    uint32_t width;           /**< coded width in samples; 0 before the first picture */
    uint32_t height;          /**< coded height in samples; 0 before the first picture */
    uint32_t chromaFormat;    /**< 1 4:2:0, 2 4:2:2, 3 4:4:4 */
    uint32_t frameCount;      /**< frames by the index table; else an estimate by size and bit rate, 0 without them */
    float framesPerSecond;    /**< frame rate; 30 before the first picture */
    uint32_t bitRate;         /**< bit rate of the sequence header */
    uint32_t infoReserved;    /**< not used */
    uint32_t keyFrameCount;   /**< I frames in the index table, else 0 */
    const int32_t *keyFrames; /**< their frame numbers, or null; valid as long as the index table */
} VideoStreamInfo;

/** The library's version. */
typedef struct VersionRecord {
    uint32_t versionMajor;   /**< changes with the interface */
    uint32_t versionMinor;   /**< changes with the implementation */
    const char *versionDate; /**< a date as text */
    const char *versionTag;  /**< a name as text */
} VersionRecord;

/** @} */

/**
 * @defgroup events Callbacks
 *
 * The user callback is told what the decoder reads; see tvkSetVideoUserCallback. The memory manager lends the decoder
 * the application's memory; see tvkSetMemoryManager.
 *
 * | eventCode  | when                                                      | members filled               |
 * |------------|-----------------------------------------------------------|------------------------------|
 * | 1          | sequence_header read                                      | sequenceHeader               |
 * | 2          | sequence_extension read                                   | sequenceExtension            |
 * | 3          | sequence_display_extension read                           | sequenceDisplay              |
 * | 4          | quant_matrix_extension read                               | quantMatrix                  |
 * | 5          | copyright_extension read                                  | copyright                    |
 * | 6          | group_of_pictures_header read                             | groupOfPictures              |
 * | 7          | picture_header of an I, P or B picture read               | pictureHeader                |
 * | 8          | picture_coding_extension read                             | pictureCoding                |
 * | 9          | picture_display_extension read                            | pictureDisplay               |
 * | 10         | slice header read                                         | slice                        |
 * | 11         | macroblock header read                                    | slice, macroblock            |
 * | 13         | user data read, of any level                              | userData                     |
 * | 14         | macroblock finished                                       | slice, macroblock, blockData |
 * | 15         | skipped macroblock of a B picture finished                | slice, macroblock, blockData |
 * | 0x80000001 | invalid code: the rest of the slice is given up           | none                         |
 *
 * Event 14 of an intra macroblock in an MPEG-2 B picture of 4:2:0 or 4:2:2 comes ahead of its samples; one in an MPEG-1
 * B picture raises none. A skipped macroblock of a 4:2:2 B field picture raises event 15 only while a memory manager's
 * buffer is filled. `macroblock` tells of the coded macroblock that ends the run of skipped ones. Nothing is raised for
 * other scalable and picture extensions.
 *
 * Members of the syntax's own names hold the elements of ISO/IEC 11172-2 and 13818-2 as read; headers are not checked.
 * @{
 */

/** sequence_header, and what the sequence extension adds to its values. */
typedef struct SequenceHeaderRecord {
    uint32_t horizontalSize;       /**< samples; with the extension's bits once that is read */
    uint32_t verticalSize;         /**< lines; likewise */
    uint32_t bitRate;              /**< bits per second; likewise */
    uint32_t vbvBufferSize;        /**< units of 16,384 bits, 10 bits as read */
    uint8_t aspectRatioCode;       /**< aspect_ratio_information, 4 bits */
    uint8_t frameRateCode;         /**< frame_rate_code, 4 bits */
    uint8_t bitRateMarker;         /**< marker bit */
    uint8_t constrainedParameters; /**< constrained_parameters_flag */
} SequenceHeaderRecord;

/** sequence_extension. */
typedef struct SequenceExtensionRecord {
    uint32_t bitRateExtension;       /**< 12 bits */
    uint8_t profileEscape;           /**< highest bit of profile_and_level_indication */
    uint8_t profile;                 /**< 3 bits */
    uint8_t level;                   /**< 4 bits */
    uint8_t progressiveSequence;     /**< 1 in MPEG-1 */
    uint8_t chromaFormat;            /**< 1 4:2:0, 2 4:2:2, 3 4:4:4; 1 in MPEG-1 */
    uint8_t horizontalSizeExtension; /**< 2 bits */
    uint8_t verticalSizeExtension;   /**< 2 bits */
    uint8_t extensionMarker;         /**< marker bit */
    uint8_t vbvBufferSizeExtension;  /**< 8 bits */
    uint8_t lowDelay;                /**< 1 bit */
    uint8_t frameRateExtensionN;     /**< 2 bits */
    uint8_t frameRateExtensionD;     /**< 5 bits */
} SequenceExtensionRecord;

/** sequence_display_extension. */
typedef struct SequenceDisplayRecord {
    uint32_t displayHorizontalSize;  /**< samples, 14 bits */
    uint32_t displayVerticalSize;    /**< lines, 14 bits */
    uint8_t videoFormat;             /**< 3 bits */
    uint8_t colourDescription;       /**< 1 when the next three were read */
    uint8_t colourPrimaries;         /**< 8 bits */
    uint8_t transferCharacteristics; /**< 8 bits */
    uint8_t matrixCoefficients;      /**< 8 bits */
    uint8_t displayMarker;           /**< marker bit */
} SequenceDisplayRecord;

/** The matrices in force. Their values stand in the order of the transform: transposed at precision 2, with columns 1
 * and 2 and columns 5 and 6 exchanged at precision 1. */
typedef struct QuantMatrixRecord {
    uint8_t loadIntra;          /**< 1 when the extension held it */
    uint8_t intra[64];          /**< intra luma, and chroma of 4:2:0 */
    uint8_t loadNonIntra;       /**< 1 when the extension held it */
    uint8_t nonIntra[64];       /**< predicted luma, and chroma of 4:2:0 */
    uint8_t loadChromaIntra;    /**< 1 when the extension held it */
    uint8_t chromaIntra[64];    /**< intra chroma of 4:2:2 and 4:4:4 */
    uint8_t loadChromaNonIntra; /**< 1 when the extension held it */
    uint8_t chromaNonIntra[64]; /**< predicted chroma of 4:2:2 and 4:4:4 */
} QuantMatrixRecord;

/** copyright_extension. */
typedef struct CopyrightRecord {
    uint32_t copyrightNumber1;   /**< 20 bits */
    uint32_t copyrightNumber2;   /**< 22 bits */
    uint32_t copyrightNumber3;   /**< 22 bits */
    uint8_t copyrightFlag;       /**< 1 bit */
    uint8_t copyrightIdentifier; /**< 8 bits */
    uint8_t originalOrCopy;      /**< 1 bit */
    uint8_t copyrightReserved;   /**< 7 bits */
    uint8_t marker1;             /**< marker bit */
    uint8_t marker2;             /**< marker bit */
    uint8_t marker3;             /**< marker bit */
} CopyrightRecord;

/** group_of_pictures_header. */
typedef struct GopRecord {
    uint8_t dropFrame;  /**< drop_frame_flag */
    uint8_t hours;      /**< time_code_hours */
    uint8_t minutes;    /**< time_code_minutes */
    uint8_t gopMarker;  /**< marker bit */
    uint8_t seconds;    /**< time_code_seconds */
    uint8_t pictures;   /**< time_code_pictures */
    uint8_t closedGop;  /**< closed_gop */
    uint8_t brokenLink; /**< broken_link */
    uint32_t timeCode;  /**< all 25 bits of the time code */
} GopRecord;

/** picture_header. */
typedef struct PictureHeaderRecord {
    uint32_t temporalReference;            /**< 10 bits */
    uint32_t vbvDelay;                     /**< 16 bits */
    uint8_t pictureCodingType;             /**< 1 I, 2 P, 3 B, 4 D */
    uint8_t fullPelForward;                /**< P and B pictures; else as before */
    uint8_t forwardFCode;                  /**< P and B pictures; else as before */
    uint8_t fullPelBackward;               /**< B pictures; else as before */
    uint8_t backwardFCode;                 /**< B pictures; else as before */
    uint8_t extraBitPicture;               /**< 0 at the end of the header */
    uint8_t extraInformationPicture[1024]; /**< the first 1024 bytes of extra information */
} PictureHeaderRecord;

/** picture_coding_extension. */
typedef struct PictureCodingRecord {
    uint32_t fCode[4];                /**< f_code less 1: forward x, forward y, backward x, backward y */
    uint8_t intraDcPrecision;         /**< 2 bits */
    uint8_t pictureStructure;         /**< 1 top field, 2 bottom field, 3 frame */
    uint8_t topFieldFirst;            /**< 1 bit */
    uint8_t framePredFrameDct;        /**< 1 bit */
    uint8_t concealmentMotionVectors; /**< 1 bit */
    uint8_t qScaleType;               /**< 1 bit */
    uint8_t intraVlcFormat;           /**< 1 bit */
    uint8_t alternateScan;            /**< 1 bit */
    uint8_t repeatFirstField;         /**< 1 bit */
    uint8_t chroma420Type;            /**< 1 bit */
    uint8_t progressiveFrame;         /**< 1 bit */
    uint8_t compositeDisplayFlag;     /**< 1 when the next five were read */
    uint8_t vAxis;                    /**< 1 bit */
    uint8_t fieldSequence;            /**< 3 bits */
    uint8_t subCarrier;               /**< 1 bit */
    uint8_t burstAmplitude;           /**< 7 bits */
    uint8_t subCarrierPhase;          /**< 8 bits */
} PictureCodingRecord;

/** picture_display_extension: one to three pairs of offsets, 16 bits each, as unsigned as they are read. */
typedef struct PictureDisplayRecord {
    uint32_t frameCentreHorizontalOffset[4]; /**< sixteenths of a sample */
    uint32_t frameCentreVerticalOffset[4];   /**< sixteenths of a line */
    uint8_t marker1;                         /**< the last marker bit behind a horizontal offset */
    uint8_t marker2;                         /**< the last marker bit behind a vertical offset */
} PictureDisplayRecord;

/** The slice header. */
typedef struct SliceHeaderRecord {
    uint32_t sliceStartCode;                /**< all 32 bits, prefix included */
    uint8_t sliceVerticalPositionExtension; /**< 3 bits, in pictures above 2800 lines */
    uint8_t priorityBreakpoint;             /**< 7 bits, in data-partitioned streams */
    uint8_t intraSliceFlag;                 /**< 1 when the next two were read */
    uint8_t intraSlice;                     /**< 1 bit */
    uint8_t reservedBits;                   /**< 7 bits */
    uint8_t extraBitSlice;                  /**< 0 at the end of the header */
} SliceHeaderRecord;

/** The macroblock header, and what follows from it. Index r is the first or second vector, s forward or backward, t
 * horizontal or vertical. Motion members hold what an earlier macroblock left when this one has no motion. */
typedef struct MacroblockRecord {
    int32_t motionCode[2][2][2];             /**< [r][s][t], -16 to 16 */
    int32_t motionResidual[2][2][2];         /**< [r][s][t] */
    int32_t dmVector[2];                     /**< [t], -1 to 1 */
    uint8_t motionVerticalFieldSelect[2][2]; /**< [r][s] */
    uint32_t macroblockIncrement;            /**< with its escapes */
    uint32_t macroblockAddress;              /**< in raster order, from 0 */
    uint32_t previousAddress;                /**< of the macroblock before */
    uint32_t codedBlockMask;                 /**< bit 31 - i is set when block i is coded */
    uint32_t cbpExtraBits;                   /**< bits of the pattern beyond 6: 0, 2 or 6 */
    uint8_t quantiserScaleCode;              /**< in force, 5 bits */
    uint8_t spatialTemporalWeightCode;       /**< 2 bits */
    uint8_t frameMotionType;                 /**< in frame pictures */
    uint8_t fieldMotionType;                 /**< in field pictures */
    uint8_t dctType;                         /**< 1 field DCT, 0 frame DCT */
    uint8_t macroblockQuant;                 /**< macroblock_quant */
    uint8_t macroblockMotionForward;         /**< macroblock_motion_forward */
    uint8_t macroblockMotionBackward;        /**< macroblock_motion_backward */
    uint8_t macroblockPattern;               /**< macroblock_pattern */
    uint8_t macroblockIntra;                 /**< macroblock_intra */
    uint8_t spatialTemporalWeightFlag;       /**< spatial_temporal_weight_code_flag */
    uint8_t spatialTemporalClasses;          /**< permitted classes by macroblock type */
    uint8_t predictionType;                  /**< by motion type and picture structure: 1, 2, 3; 0 none */
    uint8_t motionVectorCount;               /**< 1 or 2 */
    uint8_t mvFormat;                        /**< 0 field vectors, 1 frame vectors */
    uint8_t dualPrime;                       /**< 1 dual prime */
    uint8_t spatialTemporalRow[4];           /**< the weights' row for spatialTemporalWeightCode */
} MacroblockRecord;

/** A block of user data. */
typedef struct UserDataRecord {
    const uint8_t *buffer; /**< its bytes behind the start code, in file order */
    uint32_t length;       /**< bytes */
} UserDataRecord;

/** What the user callback gets. The record and all that it points at are the library's, valid until the callback
 * returns. Pointers that an event does not fill are null or point at what an earlier event filled. */
typedef struct CallbackEvent {
    uint32_t eventCode;                               /**< the table above */
    const SequenceHeaderRecord *sequenceHeader;       /**< event 1 */
    const SequenceExtensionRecord *sequenceExtension; /**< event 2 */
    const SequenceDisplayRecord *sequenceDisplay;     /**< event 3 */
    const QuantMatrixRecord *quantMatrix;             /**< event 4 */
    const CopyrightRecord *copyright;                 /**< event 5 */
    const GopRecord *groupOfPictures;                 /**< event 6 */
    const PictureHeaderRecord *pictureHeader;         /**< event 7 */
    const PictureCodingRecord *pictureCoding;         /**< event 8 */
    const PictureDisplayRecord *pictureDisplay;       /**< event 9 */
    const SliceHeaderRecord *slice;                   /**< events 10, 11, 14, 15 */
    const MacroblockRecord *macroblock;               /**< events 11, 14, 15 */
    const UserDataRecord *userData;                   /**< event 13 */
    void *privateArea[4];                             /**< the library's */
    uint32_t userValue;                               /**< as given to tvkSetVideoUserCallback */
    const int16_t *blockData;                         /**< 12 blocks of 64 values as the transform left them */
} CallbackEvent;

/** The user callback. Its result is ignored. */
typedef int32_t (*VideoUserCallback)(CallbackEvent *);
/** The memory manager. Its result is ignored. */
typedef int32_t (*VideoMemoryManager)(int32_t command, void *pointer);

/** @} */

/**
 * @defgroup life Life cycle
 * @{
 */

/**
 * Makes a stream of a source: describes, opens and asks it, and makes its first usable layer the active one (480 when
 * none is). Nothing is read yet.
 *
 * On success `*out` is the stream, to be destroyed with tvkDestroyVideoStream. On failure it is null, and a source that
 * had been opened stays open. Defaults: full size, precision 2, one thread, all frame types, work mode 0, no ring, no
 * index, conversion type YUY2.
 *
 * Streams may be made on several threads at once, of different sources.
 *
 * Errors: tvkErrWrongDecoderKind, tvkErrStreamLayout, tvkErrOutOfMemory, codes of the source.
 */
TVK_API int32_t tvkCreateVideoStream(VideoStream **out, VideoSource *source);

/** Opens the source again after tvkDisconnectVideoStream; does nothing when it is open. Errors: codes of the source,
 * and the stream stays disconnected. */
TVK_API int32_t tvkConnectVideoStream(VideoStream *stream);

/** Closes the source; does nothing when it is closed. The stream stays; what a step gets without an open source is the
 * source's business. Errors: codes of the source, and the stream stays connected. */
TVK_API int32_t tvkDisconnectVideoStream(VideoStream *stream);

/** Closes the source if it is open, whatever comes of that, stops the worker threads, calls the memory manager with
 * command 1, and frees the stream with all its frames and its index. The handle is then refused with tvkErrBadHandle,
 * until a later creation may give it out again. */
TVK_API int32_t tvkDestroyVideoStream(VideoStream *stream);

/** Has the source describe itself. The caller zeroes `*out` and may provide room for layers in it. Errors: codes of the
 * source. */
TVK_API int32_t tvkTestVideoStream(VideoStream *stream, StreamDescription *out);

/** Stores the number that the source issued at the last tvkConnectVideoStream that opened it; 0 before. May run beside
 * a step. */
TVK_API int32_t tvkGetVideoDecoderID(VideoStream *stream, uint32_t *out);

/** @} */

/**
 * @addtogroup facts
 * @{
 */

/** Fills `*out`, from the index table if there is a complete one. The source may be asked for its size. May run beside
 * a step. */
TVK_API int32_t tvkGetVideoStreamInfo(VideoStream *stream, VideoStreamInfo *out);

/** Stores 1 for MPEG-1, 2 for MPEG-2, 0 before the first sequence header. An MPEG-2 sequence counts as MPEG-1 until its
 * extension has been read. May run beside a step. */
TVK_API int32_t tvkGetVideoStreamType(VideoStream *stream, uint32_t *out);

/**
 * Reads on to the next sequence header and hands out its coded bytes and those of the extensions right behind it, start
 * codes included: `*out` is a frame of coded bytes as tvkGetNextVideoFrameBin describes it. Nothing is parsed, so seek
 * before decoding on.
 *
 * At the end of the stream the result is 0 with a `lumaPlane.size` of 0. Errors: tvkErrNoFrameYet before the first
 * picture has been met, tvkErrOutOfMemory. Waits for a source that has no data.
 */
TVK_API int32_t tvkGetSequenceHeader(VideoStream *stream, VideoFrame **out);

/** Makes a layer of the source the active one. Errors: tvkErrPositionOutOfRange outside 480 to 495, codes of the
 * source. */
TVK_API int32_t tvkSetActiveVideoLayer(VideoStream *stream, int32_t layer);

/** Asks the source for its active layer, 480 to 495. Errors: codes of the source. May run beside a step. */
TVK_API int32_t tvkGetActiveVideoLayer(VideoStream *stream, int32_t *out);

/** @} */

/**
 * @defgroup stepping Stepping
 *
 * Each step decodes as far as one frame more can be delivered. The Get forms store that frame, the others leave it to
 * tvkGetVideoFrame. A frame in `*out` follows the rule of OWNERSHIP. With a ring the frames come out of the ring.
 *
 * Frames come in display order: an I or P frame when the next one begins, a B frame at once. At the end of the input
 * the frames that are still held come one a call, then tvkErrEndOfStream on every call. After a sequence end code in
 * the middle the next call goes on with what follows it.
 *
 * A new size or chroma format in mid-stream drops what has not been delivered. B pictures ahead of the first I or P
 * picture are delivered without having been decoded. D pictures count and are not delivered.
 *
 * Errors of all steps: tvkErrEndOfStream, tvkErrNeedData, tvkErrWorkerFailed, tvkErrOutOfMemory. After tvkErrNeedData
 * the same step is to be called again. Where a call cannot be left in between it asks the source again and again until
 * data comes or the stream ends, so a source that reports no data should wait a little. Calls that always do so are
 * marked "Waits for a source that has no data".
 * @{
 */

/** Steps by the loop of the work mode. Further errors in work mode 2: tvkErrFrameListEnd, tvkErrFrameOutOfRange,
 * tvkErrFailed. */
TVK_API int32_t tvkNextVideoFrame(VideoStream *stream);

/** Steps in coded order: every decoded frame is delivered when its own decoding ends. The frame number of an I or P
 * frame is then its stream number, that of a B frame one less. Times count from the stream's clock. */
TVK_API int32_t tvkNextVideoFrameStreamOrder(VideoStream *stream);

/**
 * Steps back by one frame: through the ring if there is one, else by tvkSetVideoFrameNumber. In work mode 2 the step
 * goes to the list's entry before.
 *
 * Errors: tvkErrNoPreviousFrame with nothing delivered or at frame 1, tvkErrFrameListEnd, tvkErrEndOfStream when the
 * ring has run out, and without a ring those of tvkSetVideoFrameNumber.
 */
TVK_API int32_t tvkPrevVideoFrame(VideoStream *stream);

/** tvkNextVideoFrame, and stores the frame. */
TVK_API int32_t tvkGetNextVideoFrame(VideoStream *stream, VideoFrame **out);

/** tvkNextVideoFrameStreamOrder, and stores the frame. */
TVK_API int32_t tvkGetNextVideoFrameStreamOrder(VideoStream *stream, VideoFrame **out);

/** Steps as work mode 0 does, whatever the work mode, and stores the frame. Times too are to be relied on only when
 * every unit has its stamp. A prescan makes the edit tables too. */
TVK_API int32_t tvkGetNextVideoFrameEdit(VideoStream *stream, VideoFrame **out);

/**
 * Takes one picture's coded bytes out of the stream, decodes nothing, and stores the frame that carries them: the
 * headers ahead of the picture, then the picture with all its slices, in file order. `lumaPlane.data` are the bytes,
 * `lumaPlane.size` their number; no other member means anything. A field picture is a picture of its own here. No frame
 * is counted.
 *
 * Meant for a ring that is off. Errors: tvkErrEndOfStream, tvkErrOutOfMemory, tvkErrNoFrameYet before the first picture
 * has been met by another step or a jump. Waits for a source that has no data.
 */
TVK_API int32_t tvkGetNextVideoFrameBin(VideoStream *stream, VideoFrame **out);

/** tvkPrevVideoFrame, and stores the frame. */
TVK_API int32_t tvkGetPrevVideoFrame(VideoStream *stream, VideoFrame **out);

/** Stores the frame delivered last, by a step or a jump, without stepping. When there is none: tvkErrEndOfStream if any
 * picture has been met, else tvkErrNoFrameYet. */
TVK_API int32_t tvkGetVideoFrame(VideoStream *stream, VideoFrame **out);

/** The same under another name. */
TVK_API int32_t tvkGetVideoFrameBin(VideoStream *stream, VideoFrame **out);

/**
 * Seeks to the start and counts picture start codes up to a sequence end code: every field picture counts by itself, so
 * this is no number of frames. A stream without a sequence end code counts as 0. The input then stands at the end; jump
 * before stepping on. Waits for a source that has no data.
 *
 * Errors: codes of the source's seek, with 0 in `*out`.
 */
TVK_API int32_t tvkCountVideoFrames(VideoStream *stream, uint32_t *out);

/** @} */

/**
 * @defgroup positions Positions
 *
 * Jumps move the input to where decoding can start, and decode on from there. After a jump tvkGetVideoFrame has the
 * frame at the new place, and the next step delivers the one behind it. A jump empties the ring unless the flag says
 * otherwise. After a failed jump nothing is delivered; stepping on is allowed and goes on from where the input stands.
 *
 * All jumps may return tvkErrFailed, tvkErrEndOfStream when no frame is left to decode, tvkErrNeedData,
 * tvkErrWorkerFailed, tvkErrOutOfMemory and codes of the source. A jump that returns tvkErrNeedData is to be called
 * again.
 * @{
 */

/**
 * Goes to a frame by its number, by way of the index table. I and P frames from the nearest I frame on are decoded, and
 * no B frame but the one asked for. With a frame type left out of tvkSetVideoSP_FrameTypesToProcess the frame delivered
 * is the first of the others at or behind `number`.
 *
 * Errors: tvkErrNotIndexed; tvkErrFrameOutOfRange below 1 or above the table's number of frames. Both leave the stream
 * as it was.
 */
TVK_API int32_t tvkSetVideoFrameNumber(VideoStream *stream, int32_t number);

/** The same by the tables of tvkCreateVideoIndexTableEdit, which need not be complete: exact across open groups too.
 * Errors: tvkErrNotIndexed above the last display position known, tvkErrFrameOutOfRange below 1. */
TVK_API int32_t tvkSetVideoFrameNumberEdit(VideoStream *stream, int32_t number);

/**
 * Goes to the first I picture at or behind `number`, a number in coded order, and takes coded bytes as
 * tvkGetNextVideoFrameBin does, from the group's header on. Behind the last I picture no move takes place. Needs an
 * edit scan. Errors: tvkErrNotIndexed above the pictures scanned, tvkErrFrameOutOfRange below 1, those of
 * tvkGetNextVideoFrameBin.
 */
TVK_API int32_t tvkSetVideoFrameNumberBin(VideoStream *stream, int32_t number);

/**
 * Turns a range of numbers in coded order into the part of it that can be copied in whole groups. In and out: `*first`
 * becomes the number of the first I picture behind it, 0 when there is none; `*last` that of the last I picture not
 * behind it. The pictures from `*first` up to the one before `*last` are the whole groups. Errors: tvkErrNotIndexed.
 */
TVK_API int32_t tvkGetBinaryStartEnd(VideoStream *stream, int32_t *first, int32_t *last);

/**
 * Reads on to the end of the stream and works out the number of the last frame by the last group's time code and
 * temporal references, not by counting: frame 1 has time code 0. The drop-frame flag is not looked at. The input then
 * stands at the end. Waits for a source that has no data. Errors: tvkErrNoTimeCode when no group was met, with no
 * meaning in `*out`.
 */
TVK_API int32_t tvkGetLastFrameNumber(VideoStream *stream, uint32_t *out);

/** Goes to a position that the source gave for this stream, and on to the first I frame, as tvkSetRateVideoPosition
 * does without an index. Never goes by the index table. */
TVK_API int32_t tvkSetAbsVideoPosition(VideoStream *stream, AbsPosition position);

/** Asks the source for the position where the stream now reads, which is ahead of the frame delivered last. Errors:
 * codes of the source. May run beside a step. */
TVK_API int32_t tvkGetAbsVideoPosition(VideoStream *stream, AbsPosition *out);

/**
 * Goes to a rate position from 0.0 to 1.0.
 *
 * With an index this is the frame `rate` x frames + 1, truncated, by tvkSetVideoFrameNumber; so 1.0 gives
 * tvkErrFrameOutOfRange. Without one the source seeks, the frame delivered is the first I frame behind that place, and
 * B frames that lean on earlier ones are passed over. Frame numbers are then estimates. An unfinished prescan is thrown
 * away.
 *
 * Errors: tvkErrPositionOutOfRange, with nothing done; tvkErrEndOfStream near the end.
 */
TVK_API int32_t tvkSetRateVideoPosition(VideoStream *stream, double rate);

/** The same with the edit loop. 0.0 without an index delivers the stream's first frame, and a prescan is kept. */
TVK_API int32_t tvkSetRateVideoPositionEdit(VideoStream *stream, double rate);

/** Asks the source for the rate position where the stream now reads, in words of the loaded unit, so exact to a unit
 * only. Members of VideoFrame tell a frame's own. Errors: codes of the source. May run beside a step. */
TVK_API int32_t tvkGetRateVideoPosition(VideoStream *stream, double *out);

/** Goes to a time of 0.0 seconds or more, otherwise like tvkSetRateVideoPosition. With an index this is the frame
 * `seconds` x frames per second + 1, truncated. */
TVK_API int32_t tvkSetTimeVideoPosition(VideoStream *stream, double seconds);

/** Stores the stream's clock in seconds. In work mode 0 this is the time stamp that waits for its frame, -1.0 when none
 * does; a frame's time is its presentationTime. May run beside a step. */
TVK_API int32_t tvkGetTimeVideoPosition(VideoStream *stream, double *out);

/** @} */

/**
 * @defgroup index Index table
 *
 * An index table has an entry for each I frame. With it frames are numbered exactly and jumps go to any frame. It comes
 * from a scan, from a prescan (tvkSetVideoSP_Prescan) or from a file; the table before is thrown away. The edit form
 * also has three values for each frame; files leave those out. A table lives as long as the stream.
 * @{
 */

/**
 * Scans the whole stream for headers, decoding nothing, and seeks back to where the stream stood. Frames and settings
 * stay as they are. The user callback is told of the headers. A stream without a picture gives 0 and no table. Waits
 * for a source that has no data.
 *
 * Errors: tvkErrOutOfMemory, codes of the source's seek.
 */
TVK_API int32_t tvkCreateVideoIndexTable(VideoStream *stream);

/**
 * Scans from the start until `mode` frames have their display position, or to the end, and makes the edit tables. A
 * later call with a larger number goes on where this one stopped, provided that the input has not been moved in
 * between: make no step or jump. `mode` 0 makes the tables and takes one element. The table is complete, for the other
 * calls too, when the end has been reached. Without a sequence end code the last I or P frame gets no display position.
 *
 * The input stays where the scan stopped; jump before stepping on. Waits for a source that has no data. Errors:
 * tvkErrOutOfMemory, codes of the source's seek.
 */
TVK_API int32_t tvkCreateVideoIndexTableEdit(VideoStream *stream, int32_t mode);

/**
 * Loads a table from a file of tvkWriteVideoIndexTable. Frames can be made with tvkCreateVideoFrame at once, before a
 * sequence header has been read.
 *
 * Errors: tvkErrInvalidArgument for a null or empty path, codes of the source for its parameters 14 and 0,
 * tvkErrFileOpen: all of these keep the table that is there. tvkErrIndexFile and tvkErrOutOfMemory lose it: calls that
 * need one then return tvkErrNotIndexed, although tvkIsVideoStreamIndexed answers as before the call.
 */
TVK_API int32_t tvkReadVideoIndexTable(VideoStream *stream, const char *path);

/**
 * Writes the table, without its edit part, to a file, in place of one that is there: 72 bytes and 64 for each I frame,
 * bound to the source by its parameters 0 and 14.
 *
 * Errors: tvkErrInvalidArgument for a null or empty path, tvkErrNotIndexed, codes of the source, tvkErrFileCreate,
 * which may leave a short file behind.
 */
TVK_API int32_t tvkWriteVideoIndexTable(VideoStream *stream, const char *path);

/** 0 when a complete table has been made, tvkErrNotIndexed when not. May run beside a step. */
TVK_API int32_t tvkIsVideoStreamIndexed(VideoStream *stream);

/** @} */

/**
 * @defgroup ring Ring of decoded frames
 *
 * The ring keeps copies of the frames around the current one, so that steps back need no new decoding. It is off by
 * default and costs a copy of each frame. The first step forward fills it ahead of the current frame; later the decoder
 * runs `forward` frames ahead. At the end of the stream the ring is emptied one frame a step. Steps back need an index
 * table to fill the ring.
 *
 * Its limits: a change of the reduce coefficient or of the chroma format ends the ring, and its sizes have to be set
 * again. Whenever a ring ends, also by new sizes, flag 2 of tvkSetVideoSP_Flags is cleared. A ring is not rebuilt for a
 * new picture size and then keeps what it holds. A failed step, also one for want of data, makes the ring run out, and
 * it stays empty until a jump with flag 2 set or new sizes: use none with a source that reports no data. A ring that
 * would take half of the machine's memory is not built; frames are then delivered without it.
 * @{
 */

/** Sets how many frames are kept ahead of the current one and behind it, 0 or more; 0 and 0 turn the ring off. The old
 * ring and its frames are freed at once; the new one is built at the next picture. Errors: tvkErrInvalidArgument for a
 * negative number, with the ring kept; tvkErrCallbackReduce. */
TVK_API int32_t tvkSetVideoFrameBufferSize(VideoStream *stream, int32_t forward, int32_t backward);

/** Stores the sizes. Errors: tvkErrBufferDisabled with the ring off. May run beside a step. */
TVK_API int32_t tvkGetVideoFrameBufferSize(VideoStream *stream, uint32_t *forward, uint32_t *backward);

/** Stores how far the ring is filled: the highest index, 0 or more, and the lowest, 0 or less. Errors:
 * tvkErrBufferDisabled with the ring off. May run beside a step. */
TVK_API int32_t tvkGetVideoFrameBufferUtilization(VideoStream *stream, int32_t *forward, int32_t *backward);

/** Stores a frame of the ring: `index` 0 is the current one, higher ones come later. Errors: tvkErrBufferDisabled with
 * the ring off or not built yet, tvkErrFrameOutOfRange where no frame is. May run beside a step, but what it stores may
 * then change under the reader. */
TVK_API int32_t tvkGetBufferedVideoFrame(VideoStream *stream, int32_t index, VideoFrame **out);

/** Turns the bytes of the loaded unit between file order and the order that decoding reads, 4 bytes at a time. Coded
 * bytes are always delivered in file order and decoding finds what it needs, with and without this call, which is kept
 * for applications that make it. */
TVK_API int32_t tvkSwapBuffer(VideoStream *stream);

/** @} */

/**
 * @defgroup settings Settings
 *
 * Settings are made between steps and take effect at the next picture. Setters may return tvkErrCallbackReduce, a
 * warning: a user callback is set and the reduce coefficient is 8; the value has been stored. Getters store the setting
 * and may run beside a step.
 * @{
 */

/** Adds up flags: 1, work mode 2 serves I frames only; 2, a jump empties the ring (the default). Others are ignored. */
TVK_API int32_t tvkSetVideoSP_Flags(VideoStream *stream, int32_t value);

/** The flags. */
TVK_API int32_t tvkGetVideoSP_Flags(VideoStream *stream, uint32_t *out);

/** Decodes to 1 / value of the size in each direction: 1, 2, 4 or 8, above 1 with precision 2 only. All prediction
 * works at the reduced size, so errors gather up to the next I picture. New working frames are made at the next
 * picture; the undelivered frames are dropped. Of the replaced ones, which the application may still point at, the last
 * three stay readable, and of those before as many as 256 MiB hold; so do they at a new picture size. Errors:
 * tvkErrInvalidArgument. */
TVK_API int32_t tvkSetVideoSP_ReduceCoefficient(VideoStream *stream, int32_t value);

/** The reduce coefficient. */
TVK_API int32_t tvkGetVideoSP_ReduceCoefficient(VideoStream *stream, uint32_t *out);

/** Decodes and delivers I frames (1), I and P frames (2), or all (3, the default). Frames left out keep their numbers.
 * Errors: tvkErrInvalidArgument. */
TVK_API int32_t tvkSetVideoSP_FrameTypesToProcess(VideoStream *stream, int32_t value);

/** The frame types. */
TVK_API int32_t tvkGetVideoSP_FrameTypesToProcess(VideoStream *stream, uint32_t *out);

/**
 * Decodes each picture's slices on `count` threads, the caller's included; the default is 1. More threads than a
 * picture has slices bring nothing. With a memory manager use 1. Stops the threads there are and starts new ones, so it
 * must not be called while a step is running, although only a change is refused with tvkErrBusy then.
 *
 * The samples are the same on any number of threads, those of damaged streams too: a damaged picture whose slices get
 * in each other's way is decoded again on one thread, so that it takes up to twice the time. Events come of the first
 * decoding alone then, in which a slice ends where the next one begins.
 *
 * Errors: tvkErrInvalidArgument below 1, tvkErrOutOfMemory: the threads stay as they were. tvkErrNoThreads for another
 * coding family. A thread that cannot be started shows as tvkErrWorkerFailed at the next step.
 */
TVK_API int32_t tvkSetVideoSP_Threads(VideoStream *stream, int32_t count);

/** The number of threads. Errors: tvkErrNoThreads for another coding family. */
TVK_API int32_t tvkGetVideoSP_Threads(VideoStream *stream, uint32_t *out);

/** Gives work mode 2 its list of `count` frame numbers, 1 or more each and rising, and starts at its head. The array
 * stays the caller's, is not copied, and has to stay as it is until another one is set or the stream is destroyed.
 * Errors: tvkErrInvalidArgument, tvkErrFrameListOrder. */
TVK_API int32_t tvkSetVideoSP_FrameList(VideoStream *stream, int32_t *list, int32_t count);

/** The pointer as it was set, and the count; null and 0 before. */
TVK_API int32_t tvkGetVideoSP_FrameList(VideoStream *stream, int32_t **list, int32_t *count);

/**
 * 1 has an index table made while work mode 0, the edit loop or coded order step through the stream from its start to
 * its end. 0 gives that up and throws an unfinished table away; a complete one stays. A jump by rate, time or
 * AbsPosition throws an unfinished table away too. Any other value changes nothing. Returns 0 in all these cases.
 */
TVK_API int32_t tvkSetVideoSP_Prescan(VideoStream *stream, int32_t value);

/** The same; the edit tables are made when tvkGetNextVideoFrameEdit does the steps. */
TVK_API int32_t tvkSetVideoSP_PrescanEdit(VideoStream *stream, int32_t value);

/** 1 while a prescan is asked for and not finished, else 0. Returns 0 also for null, with nothing stored. */
TVK_API int32_t tvkGetVideoSP_Prescan(VideoStream *stream, uint32_t *out);

/** Chooses the arithmetic: 1 exact, close to the standards' inverse transform; 2 fast (the default), in 16 bits, at a
 * cost in quality. To be set before the first step: matrices are stored in the order of one or the other and stay so
 * until the next sequence header. Any other value, and any at reduced size, changes nothing. Returns 0 in all these
 * cases. */
TVK_API int32_t tvkSetVideoSP_Precision(VideoStream *stream, int32_t value);

/** The precision. Returns 0 also for null, with nothing stored. */
TVK_API int32_t tvkGetVideoSP_Precision(VideoStream *stream, uint32_t *out);

/** A setting of another coding family. Errors: tvkErrNoVOP always. */
TVK_API int32_t tvkSetVideoSP_VOPTypesToProcess(VideoStream *stream, int32_t value);

/** A setting of another coding family. Errors: tvkErrNoVOP always; `*out` is left alone and may be null. */
TVK_API int32_t tvkGetVideoSP_VOPTypesToProcess(VideoStream *stream, uint32_t *out);

/**
 * Chooses what tvkNextVideoFrame and tvkGetNextVideoFrame do: 0, the default, every frame in display order; 1,
 * adjustable speed; 2, the frames of the list alone. Other steps do not change. Errors: tvkErrInvalidArgument.
 *
 * Work mode 2 goes to each frame by the index table, or without one forwards only, decoding what it depends on. Its end
 * is tvkErrFrameListEnd. With flag 1 it delivers the last I frame at or before each entry, the same one again as long
 * as the entry lies behind it; without an index the next I frame, and frame types stay at 1 then.
 */
TVK_API int32_t tvkSetVideoWorkMode(VideoStream *stream, int32_t mode);

/** The work mode. */
TVK_API int32_t tvkGetVideoWorkMode(VideoStream *stream, uint32_t *out);

/**
 * Tells work mode 1 how much to leave out; the library measures no time.
 *
 * | command | effect                                                        |
 * |---------|---------------------------------------------------------------|
 * | 1       | I frames only                                                 |
 * | 2       | I frames and the first 5 P frames behind each                 |
 * | 3       | all I and P frames and the first 2 B frames behind each       |
 * | 4       | all frames, the default                                       |
 * | 5       | one step less                                                 |
 * | 6       | one step more                                                 |
 *
 * The steps downwards: all; 2 B frames, then 1, behind each I or P frame; 5 down to 1 P frames behind each I frame; I
 * frames; every second I frame, every third, and so on. Errors: tvkErrWrongWorkMode, tvkErrInvalidArgument.
 */
TVK_API int32_t tvkSetVideoAdjustableSpeed(VideoStream *stream, int32_t command);

/** Sets the layout of the memory manager's buffers by its FOURCC, first letter in the lowest byte, all letters in upper
 * or all in lower case: YUY2 (the default), UYVY, YV12 or YVU9. tvkConvertVideoFrame does not look at it. Errors:
 * tvkErrInvalidArgument. */
TVK_API int32_t tvkSetVideoConversionType(VideoStream *stream, uint32_t fourcc);

/** The FOURCC, in the case in which it was set. */
TVK_API int32_t tvkGetVideoConversionType(VideoStream *stream, uint32_t *out);

/** A call of another coding family. Errors: tvkErrWrongDecoderKind always. */
TVK_API int32_t tvkGetNextFAPPlain(VideoStream *stream, void *unused);

/** A call of another coding family. Errors: tvkErrWrongDecoderKind always. */
TVK_API int32_t tvkGetNextFAPSegment(VideoStream *stream, void *unused);

/** @} */

/**
 * @addtogroup events
 * @{
 */

/**
 * Sets the user callback, or none with null. It gets `userValue` in each record.
 *
 * Events of headers and user data come on the thread that steps or scans; those of slices and macroblocks, 10, 11, 14,
 * 15 and 0x80000001, on any of the stream's threads, several at once. A callback may read the record and make calls
 * that may run beside a step, tvkSetVideoSP_Threads excepted; others return tvkErrBusy. Macroblock
 * events cost speed, so a stream without a callback decodes faster.
 *
 * Errors: tvkErrCallbackReduce at reduce coefficient 8, with the callback set: macroblock records mean nothing there.
 */
TVK_API int32_t tvkSetVideoUserCallback(VideoStream *stream, VideoUserCallback callback, uint32_t userValue);

/**
 * Sets the memory manager, or none with null, and the number of its slots, 4 to 256. While it is set each finished
 * macroblock is also written to a buffer of the application, in the layout of tvkSetVideoConversionType. It is called
 * on the thread that steps:
 *
 * | command | when                                      | pointer                                              |
 * |---------|-------------------------------------------|------------------------------------------------------|
 * | 0       | new working frames were made              | VideoFrame *, one of them, which tells the new sizes |
 * | 1       | the stream is being destroyed             | VideoFrame **, the three working frames or nulls     |
 * | 2       | a picture is about to be decoded          | VideoFrame *, which gets its buffer                  |
 * | 3       | all slices of the picture are decoded     | VideoFrame *, the same                               |
 *
 * At command 2 the application stores its buffer in `externalBuffer`, or null for a picture that it does not want.
 * `bufferSlot` names the slot that the library has drawn for the frame, -1 when none is free; the two fields of a frame
 * have one slot and are to get one buffer. A slot stays taken until tvkSetMemoryAvailable returns it, and the one
 * returned last is not drawn next. Settings, jumps and new working frames free all slots.
 *
 * The buffer needs S x R x 2 bytes for YUY2 and UYVY, S x R x 3 / 2 for YV12, S x R x 9 / 8 for YVU9, where S is the
 * luma width rounded up to 32 and R the luma height rounded up to 16. Rows are 2 S bytes in packed layouts, S in planar
 * ones, with chroma rows of S / 2 and S / 4 bytes; the Cr plane stands behind the luma plane, the Cb plane behind that.
 * B frames of 4:2:0 and 4:2:2 at full size go to the buffer alone when there is one: their planes are not written.
 *
 * Set one thread: of more, only the calling one's slices reach the buffer.
 *
 * Errors: tvkErrInvalidArgument for the number of slots, with nothing changed.
 */
TVK_API int32_t tvkSetMemoryManager(VideoStream *stream, VideoMemoryManager manager, int32_t slots);

/** Stores the memory manager as a void pointer, null for none, and the number of slots if `slots` is not null. May run
 * beside a step. */
TVK_API int32_t tvkGetMemoryManager(VideoStream *stream, void **callback, uint32_t *slots);

/** Returns a slot to the table. Makes no test for a running step, so that the memory manager itself may call it; on the
 * stream's own thread only. Errors: tvkErrInvalidArgument for a number outside the table. */
TVK_API int32_t tvkSetMemoryAvailable(VideoStream *stream, int32_t slot);

/** @} */

/**
 * @defgroup frames Frames
 *
 * Frames of the application's own. Calls without a stream run on any thread; none may run while another call writes a
 * frame that it reads or writes. A frame passed in has to be one that the library made.
 * @{
 */

/** Makes a black frame of the size and chroma format that the stream now has, at its reduce coefficient. The caller
 * destroys it. On failure `*frame` is null. Errors: tvkErrNoSequenceHeader, tvkErrOutOfMemory. May run beside a
 * step. */
TVK_API int32_t tvkCreateVideoFrame(VideoStream *stream, VideoFrame **frame);

/** Makes a black frame of `width` x `height` samples, 1 or more, and chroma format 1, 2 or 3. The caller destroys it.
 * Errors: tvkErrInvalidArgument, with `*frame` left alone; tvkErrOutOfMemory, with `*frame` null. */
TVK_API int32_t tvkCreateVideoFrameWHC(VideoFrame **frame, int32_t width, int32_t height, int32_t chromaFormat);

/** Copies picture, geometry, numbers and user data. `decodeRatePosition` of the target stays, its `bufferSlot` and
 * `externalBuffer` are cleared. Chroma format and both planes' `size` have to be equal; width and height need not be.
 * Errors: tvkErrInvalidArgument, with the target left alone. */
TVK_API int32_t tvkCopyVideoFrame(const VideoFrame *source, VideoFrame *target);

/** The same; the stream is not looked at and may be null. */
TVK_API int32_t tvkCopyVideoFrameMT(VideoStream *stream, const VideoFrame *source, VideoFrame *target);

/** Makes a frame with the same contents, `decodeRatePosition` included, `bufferSlot` and `externalBuffer` cleared. The
 * caller destroys it. Errors: tvkErrOutOfMemory, with `*target` null. */
TVK_API int32_t tvkDuplicateVideoFrame(const VideoFrame *source, VideoFrame **target);

/** The same; the stream is not looked at and may be null. */
TVK_API int32_t tvkDuplicateVideoFrameMT(VideoStream *stream, const VideoFrame *source, VideoFrame **target);

/** Frees a frame that the application made, never one of a stream. It may outlive the stream. Errors:
 * tvkErrInvalidArgument for null. */
TVK_API int32_t tvkDestroyVideoFrame(VideoFrame *frame);

/** @} */

/**
 * @defgroup output Conversion and files
 *
 * These calls read one frame and touch no stream. Any number may run at once.
 * @{
 */

/**
 * Converts a frame.
 *
 * | target         | layout                                                     | bytes in a full row         |
 * |----------------|------------------------------------------------------------|-----------------------------|
 * | 15             | 16-bit words, blue in bits 0 to 4, green 5 to 9, red above | 2 x width                   |
 * | 16             | 16-bit words, blue in bits 0 to 4, green 5 to 10, red above| 2 x width                   |
 * | 24             | B, G, R                                                    | 3 x width                   |
 * | 32             | B, G, R, 0                                                 | 4 x width                   |
 * | FOURCC YUY2    | Y, Cb, Y, Cr                                               | 2 x width                   |
 * | FOURCC UYVY    | Cb, Y, Cr, Y                                               | 2 x width                   |
 * | FOURCC YV12    | Y plane, Cr plane, Cb plane, chroma 1/2 x 1/2              | width, in chroma width / 2  |
 * | FOURCC YVU9    | Y plane, Cr plane, Cb plane, chroma 1/4 x 1/4              | width, in chroma width / 4  |
 *
 * A FOURCC has its first letter in the lowest byte; lower-case spellings do as well. Rows run from the top.
 *
 * `channels` adds up 1 to keep luma, 2 to keep Cb, 4 to keep Cr, at least one of them, and 8 to exchange red and blue.
 * What is not kept reads as 128 in chroma and 16 in luma (64 for RGB).
 *
 * `stride` is the bytes from one row to the next, a multiple of 16 and not below the frame's luma width. Chroma rows of
 * planar layouts are stride / 2 or stride / 4 apart. A row that the stride is too short for is cut off. `rows` is the
 * room in rows, not below the frame's luma height, and even for 4:2:0. The Cr plane begins at stride x rows, the Cb
 * plane 1/4 (YV12) or 1/16 (YVU9) of that behind it. The buffer needs stride x rows bytes, x 3 / 2 for YV12 and x 9 / 8
 * for YVU9, and may be at any address.
 *
 * Up to 31 samples behind the width are written too, as far as the stride reaches, and of an odd height one row more if
 * `rows` has room for it. Nothing is written outside the buffer.
 *
 * Errors: tvkErrInvalidArgument for any of these conditions, and for a frame that holds no picture. The buffer is left
 * alone then.
 */
TVK_API int32_t tvkConvertVideoFrame(const VideoFrame *frame, int32_t target, uint8_t *buffer, int32_t stride,
                                     int32_t rows, int32_t channels);

/** The same into planes at places of their own, with as many rows as the frame: `first` takes luma or the packed
 * layout, `second` Cr, `third` Cb. The latter two are looked at for planar layouts only and may be null for others. An
 * odd luma height is accepted. Chroma planes get height / 2 or height / 4 rows, truncated. */
TVK_API int32_t tvkConvertVideoFrameEx(const VideoFrame *frame, int32_t target, uint8_t *first, uint8_t *second,
                                       uint8_t *third, int32_t stride, int32_t channels);

/** tvkConvertVideoFrame; the stream is not looked at and may be null. */
TVK_API int32_t tvkConvertVideoFrameMT(VideoStream *stream, const VideoFrame *frame, int32_t target, uint8_t *buffer,
                                       int32_t stride, int32_t rows, int32_t channels);

/**
 * Saves a frame. `name` gets a suffix by the format; a file of that name is replaced.
 *
 * | format | files                                                                                               |
 * |--------|-----------------------------------------------------------------------------------------------------|
 * | 0      | none, the call returns 0                                                                            |
 * | 1      | .bmp, 24 bits, odd sizes rounded up to even ones                                                    |
 * | 2      | .y, .u, .v, the visible bytes of luma, Cb and Cr, and .i, a line with 420, 422 or 444, width, height|
 * | 3      | .jpg, baseline, with the frame's own chroma format and fixed tables                                 |
 *
 * Errors: tvkErrInvalidArgument for a null or empty name, another format, or a frame that holds no picture;
 * tvkErrOutOfMemory; tvkErrSaveCreate; tvkErrSaveWrite, with formats 1 and 2; tvkErrSavePath. Files that were begun
 * stay. A write to a .jpg that fails is not noticed.
 */
TVK_API int32_t tvkSaveVideoFrameToFile(const VideoFrame *frame, const char *name, uint32_t format);

/** @} */

/**
 * @addtogroup facts
 * @{
 */

/** Stores a pointer to the version, which is constant and lives as long as the library. Any thread. */
TVK_API int32_t tvkGetVideoLibraryVersion(const VersionRecord **out);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
