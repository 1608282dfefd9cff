/* SPDX-License-Identifier: BSD-2-Clause */
/**
 * @file
 * tvk_source: video in files, in memory and from pipes, as sources for the decoder of tvk.h.
 *
 * INTRODUCTION
 *
 * The decoder opens no file: it takes its coded pictures and its positions from a VideoSource. This library makes
 * such a source out of an MPEG-1 or MPEG-2 video elementary stream (.m1v, .m2v, .mpv), or out of a container with such
 * video in it: program streams (.mpg, .vob), transport streams (.ts, .m2ts), MXF, Matroska, AVI, QuickTime and MP4.
 * What a file is, is told by its bytes and not by its name. Containers are taken apart by libavformat; a build without
 * it recognises them and refuses them with tvkSourceErrMultiplexed. No decoder but this one is ever used.
 *
 *     VideoSource *source;
 *     VideoStream *stream;
 *     VideoFrame *frame;
 *     int32_t code = tvkOpenFileSource(&source, "film.m2v");
 *     if (code != 0) { fprintf(stderr, "film.m2v: %s\n", tvkSourceErrorText(code)); return 1; }
 *     code = tvkCreateVideoStream(&stream, source);
 *     if (code == 0) {
 *         while (tvkGetNextVideoFrame(stream, &frame) == 0) show(frame);
 *         tvkDestroyVideoStream(stream);
 *     }
 *     tvkCloseSource(source);
 *
 * OWNERSHIP. The caller owns the source: one stream to a source, and the source is closed after its stream has been
 * destroyed. The decoder never frees it.
 *
 * THREADS. A source belongs to one thread at a time, the one that calls its stream. Different sources are independent.
 *
 * ERRORS. The calls below return 0 or a negative code: one of tvkSourceErr... or, where the meaning is the same,
 * tvkErrOutOfMemory, tvkErrInvalidArgument or tvkErrPositionOutOfRange of tvk.h. The operations of the table return the
 * same codes, and the decoder hands them on where it hands on any code of its source.
 *
 * OPENING takes the time of reading the head of the file. It looks for a sequence header in the first 16 MiB.
 *
 * CONTAINERS. Of several video streams the widest is taken. tvkTestVideoStream lists them all as layers, the chosen one
 * first; tvkSetActiveVideoLayer chooses another, which then begins at its start. In a program stream a layer is
 * the stream's identifier, E0 to EF with 0x100 added; elsewhere they are counted from 480. Packets of the stream are
 * joined as they are. Damage costs what it hits: reading goes on at the next packet that can be found. libavformat's
 * own messages are silenced unless the program has set a level of its own.
 *
 * CHANGING FILES. The size is taken at opening. Bytes appended later are not seen. A file that has become shorter ends
 * where it ends now: the bytes up to there are delivered, the read behind them fails with tvkSourceErrFileChanged,
 * which the decoder takes for the end of the stream. No signal is raised, since the file is read and never mapped.
 *
 * GROWING FILES, recordings that go on while they are read, are opened with tvkSourceGrowing. Where the bytes end there
 * is no data yet: stepping returns tvkErrNeedData and goes on with the next call that finds more. tvkEndSourceGrowth
 * makes the end an end, and what waits for its continuation is delivered. Make an index only after that.
 *
 * PIPES are opened with tvkOpenDescriptorSource and read once from start to end; seeks fail with tvkSourceErrNoSeek.
 *
 * BYTES OF UNITS are lent (parameter 8 is 1): a unit lies where the source has read it, or in the caller's own memory,
 * and the decoder, which does not write to it, copies what it wants of it. A program that calls the operations itself
 * finds it at `buffer` up to the next read or seek. With tvkSourceFillsBuffer the source copies into the caller's
 * buffer.
 *
 * UNITS. A unit that would exceed 4 MiB, the most that the decoder takes, is cut there and goes on in the next unit. Of
 * more than about 4000 slices in one picture the last ones are not listed. Bytes are never dropped: the units of
 * a stream, one behind the other, are the stream.
 *
 * POSITIONS are bytes of the file; in a container the byte at which a packet begins, and the byte within its payload.
 * They are never times. An AbsPosition stays valid for the file, in index files too, and seeking to it makes the next
 * unit begin at exactly that byte. Its second and third word add up, without carry, to a number that never falls as the
 * position rises; that of the first byte is not all zero.
 * - Rate 0.0 is the first byte. Any other rate is the byte at that share of the size, and from there the next sequence
 *   header or group start in the following 4 MiB; where there is none the next picture, and where there is no picture
 *   either the last one of the file, so that a seek to 1.0 finds something to read.
 * - Time is turned into a byte by the stream's bit rate as the decoder has announced it (parameter 12). A stream that
 *   announces none, or MPEG-1's mark of a variable rate, is measured at its head instead. The seek goes on like a rate
 *   seek. In a container it is the time since the first time stamp, and the stamps around it are searched.
 *
 * TIME STAMPS. An elementary stream has none; every unit carries -1.0. In a container every picture gets its
 * presentation time: the one that its packet tells, or one that is counted on from the frames shown before it, repeated
 * fields included. They are seconds as the file has them, and seldom begin at 0. A clock of 33 bits that starts again
 * goes on rising; any other jump is left as it is. Stamps are set for the forward loop, which adds half a frame to that
 * of a frame with a repeated field; so such a frame's stamp comes half a frame early, and its presentationTime is
 * right.
 *
 * PARAMETERS. Get 0: a fingerprint of size and content, 8 bytes. Get 8: 0 with tvkSourceFillsBuffer, otherwise 1. Get
 * and set 9: the active layer, 480 to 495; an elementary stream answers to every number. Get 11: the rate last set with
 * 12; of a container its size in bits by its length in seconds.
 * Set 12: bits per second, a uint32_t. Get 14: the size in bytes, high word first.
 */
#ifndef TVK_SOURCE_H
#define TVK_SOURCE_H

#include "tvk.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Source codes. tvkSourceErrorText has a sentence for each. */
enum {
    tvkSourceErrNotFound = -3001,    /**< no file of that name */
    tvkSourceErrNoAccess = -3002,    /**< the file may not be read */
    tvkSourceErrOpen = -3003,        /**< opening failed for another reason */
    tvkSourceErrNotAFile = -3004,    /**< a folder, pipe or device */
    tvkSourceErrEmpty = -3005,       /**< no bytes at all */
    tvkSourceErrNoVideo = -3006,     /**< no sequence header in the first 16 MiB */
    tvkSourceErrMultiplexed = -3007, /**< a container, and this build reads none */
    tvkSourceErrTooLarge = -3008,    /**< above 64 TiB, where positions end */
    tvkSourceErrRead = -3009,        /**< reading failed */
    tvkSourceErrFileChanged = -3010, /**< the file became shorter after it was opened */
    tvkSourceErrClosed = -3011,      /**< the stream is disconnected */
    tvkSourceErrBadPosition = -3012, /**< an AbsPosition that is not of this source, or behind its end */
    tvkSourceErrNoParameter = -3013, /**< no such parameter in this direction */
    tvkSourceErrNoTime = -3014,      /**< no bit rate or time stamp to turn a time into a position */
    tvkSourceErrNoSeek = -3015,      /**< a pipe, which is read once */
    tvkSourceErrContainer = -3016    /**< a container that cannot be read */
};

/** Flags of the Ex calls, to be added up. */
enum {
    /** Each unit comes in a block of its own of exactly the unit's size, valid until the next read or the closing, so
     * that a memory checker sees any access behind the last byte. */
    tvkSourceOwnsBuffer = 1,
    /** Open whatever the bytes are, nothing included. */
    tvkSourceAnyContent = 2,
    /** The file is still being written: see GROWING FILES. */
    tvkSourceGrowing = 4,
    /** Copy each unit into the buffer that the caller provides: parameter 8 is 0. Without tvkSourceOwnsBuffer. */
    tvkSourceFillsBuffer = 8
};

/** Opens the file `path`. On failure `*out` is null. Null arguments give tvkErrInvalidArgument. */
TVK_API int32_t tvkOpenFileSource(VideoSource **out, const char *path);
/** The same with flags. */
TVK_API int32_t tvkOpenFileSourceEx(VideoSource **out, const char *path, uint32_t flags);

/** Opens what an open descriptor reads: a file, or a pipe such as standard input (see PIPES). The descriptor stays the
 * caller's and may be closed; of a pipe's bytes nothing is left for others. */
TVK_API int32_t tvkOpenDescriptorSource(VideoSource **out, int32_t descriptor, uint32_t flags);

/** Opens `size` bytes of memory, which stay the caller's, are not copied and not written to, and have to stay as they
 * are until the source is closed. `bytes` may be null when size is 0, which needs tvkSourceAnyContent. */
TVK_API int32_t tvkOpenMemorySource(VideoSource **out, const uint8_t *bytes, uint64_t size);
/** The same with flags. */
TVK_API int32_t tvkOpenMemorySourceEx(VideoSource **out, const uint8_t *bytes, uint64_t size, uint32_t flags);

/** Frees the source. `source` must come from one of the calls above. Null gives tvkErrInvalidArgument. */
TVK_API int32_t tvkCloseSource(VideoSource *source);

/** The file of a source opened with tvkSourceGrowing is complete: from now on its end is the end. */
TVK_API int32_t tvkEndSourceGrowth(VideoSource *source);

/** What a source is made of. */
typedef struct SourceInfo {
    const char *container; /**< its kind in English, constant: "transport stream", "video elementary stream" */
    uint64_t size;         /**< in bytes; 0 when it is not known */
    int32_t videoStreams;  /**< of which one is chosen */
    int32_t layer;         /**< the chosen one's */
    int32_t seekable;      /**< 0 for pipes */
    double seconds;        /**< length by the container's header or time stamps; 0.0 when they do not tell */
    double firstTime;      /**< the first time stamp; -1.0 without one */
} SourceInfo;
/** Fills `*info`. Where the container's header does not tell its length the end of the file is read. */
TVK_API int32_t tvkGetSourceInfo(VideoSource *source, SourceInfo *info);

/** A sentence without a full stop for a code of a source or of opening, in English; the string is constant. Never null.
 */
TVK_API const char *tvkSourceErrorText(int32_t code);

#ifdef __cplusplus
}
#endif

#endif
