/* SPDX-License-Identifier: BSD-2-Clause */
/* Runs every function of docs/guide.md on a clip and looks at what it does: guide_run CLIP FRAMES FOLDER */
#include "guide_blocks.c"

#include <pthread.h>

static int faults;
static int32_t visited[1000], visits;

static void check(int isTrue, const char *what) {
    if (isTrue) return;
    fprintf(stderr, "not so: %s\n", what);
    ++faults;
}
#define CHECK(condition) check(condition, #condition)

static void noteNumber(const VideoFrame *frame) {
    if (visits < 1000) visited[visits++] = frame->frameNumber;
}

static int atOnce(void) {
    return 1;
}

static Film opened(const char *file) {
    Film film;
    if (openFilm(&film, file) != 0) {
        fprintf(stderr, "%s cannot be opened\n", file);
        exit(1);
    }
    return film;
}

static void checkStepping(const char *clip, int32_t frames) {
    Film film = opened(clip);
    CHECK(chooseQuality(film.stream) == 0);
    CHECK(countFrames(film.stream) == frames);
    CHECK(countFrames(film.stream) == 0);
    closeFilm(&film);
    film = opened(clip);
    CHECK(countDamage(film.stream) == 0);
    closeFilm(&film);
}

static void checkKeyFrames(const char *clip, const char *folder) {
    char name[4096], line[32] = "";
    FILE *list;
    Film film = opened(clip);
    snprintf(name, sizeof name, "%s/keys.txt", folder);
    list = fopen(name, "w+");
    if (!list) exit(1);
    CHECK(listKeyFrames(film.stream, list) == 0);
    rewind(list);
    CHECK(fgets(line, sizeof line, list) && strcmp(line, "1\n") == 0);
    CHECK(fgets(line, sizeof line, list) != NULL);
    fclose(list);
    closeFilm(&film);
}

static void checkPictures(const char *clip) {
    VideoFrame *frame, *kept;
    uint8_t *rgb;
    int32_t stride;
    double mean;
    Film film = opened(clip);
    CHECK(tvkGetNextVideoFrame(film.stream, &frame) == 0);
    mean = meanLuma(frame);
    CHECK(mean > 1 && mean < 254);
    rgb = makeRgb(frame, &stride);
    CHECK(rgb != NULL && stride >= frame->lumaPlane.width * 4);
    free(rgb);
    kept = keepFrame(frame);
    CHECK(kept != NULL);
    countFrames(film.stream);
    closeFilm(&film);
    CHECK(meanLuma(kept) == mean && kept->frameNumber == 1);
    dropFrame(kept);
}

static void checkSeeking(const char *clip, int32_t frames, const char *folder) {
    char index[4096];
    int32_t list[3] = {2, 5, 9}, i;
    VideoFrame *frame;
    Film film = opened(clip);
    snprintf(index, sizeof index, "%s/guide.vidx", folder);
    remove(index);
    CHECK(needIndex(film.stream, index) == 0);
    CHECK(needIndex(film.stream, index) == 0);
    CHECK(lastFrameNumber(film.stream) == frames);
    CHECK(jumpTo(film.stream, 7, &frame) == 0 && frame->frameNumber == 7);
    CHECK(jumpTo(film.stream, frames + 1, &frame) == tvkErrFrameOutOfRange);
    CHECK(visitFrames(film.stream, list, 3, noteNumber) == 0);
    CHECK(visits == 3 && memcmp(visited, list, sizeof list) == 0);
    visits = 0;
    CHECK(playBackwards(film.stream, noteNumber) == 0);
    CHECK(visits == frames);
    for (i = 0; i < visits; ++i) CHECK(visited[i] == frames - i);
    visits = 0;
    closeFilm(&film);
    film = opened(clip);
    CHECK(jumpToMiddle(film.stream, &frame) == 0 && frame->pictureCodingType == 1);
    closeFilm(&film);
}

static void checkCutting(const char *clip, int32_t frames, const char *folder) {
    char name[4096];
    int32_t copied = 0, number;
    for (number = 1; number <= 2; ++number) {
        FILE *part;
        Film film = opened(clip);
        snprintf(name, sizeof name, "%s/group%d.m2v", folder, (int)number);
        part = fopen(name, "wb");
        if (!part) exit(1);
        CHECK(copyGroup(film.stream, number, part) == 0);
        fclose(part);
        closeFilm(&film);
        film = opened(name);
        CHECK(countDamage(film.stream) == 0);
        closeFilm(&film);
        film = opened(name);
        copied = countFrames(film.stream);
        CHECK(copied > 1 && copied < frames);
        closeFilm(&film);
    }
}

static void checkThreadsAndErrors(const char *clip, int32_t frames) {
    pthread_t first, second;
    Count one = {clip, 0}, other = {clip, 0}, none = {"no/such.m2v", 0};
    CHECK(pthread_create(&first, NULL, countInBackground, &one) == 0);
    CHECK(pthread_create(&second, NULL, countInBackground, &other) == 0);
    CHECK(pthread_join(first, NULL) == 0 && pthread_join(second, NULL) == 0);
    countInBackground(&none);
    CHECK(one.frames == frames && other.frames == frames && none.frames == -1);
    CHECK(strcmp(explainCode(tvkErrEndOfStream), "the video is over") == 0);
    CHECK(strcmp(explainCode(tvkSourceErrEmpty), tvkSourceErrorText(tvkSourceErrEmpty)) == 0);
    CHECK(followRecording(clip, atOnce, noteNumber) == 0);
    CHECK(visits == frames);
}

int main(int argc, char **argv) {
    int32_t frames;
    if (argc != 4) return 2;
    frames = (int32_t)atoi(argv[2]);
    checkStepping(argv[1], frames);
    checkKeyFrames(argv[1], argv[3]);
    checkPictures(argv[1]);
    checkSeeking(argv[1], frames, argv[3]);
    checkCutting(argv[1], frames, argv[3]);
    checkThreadsAndErrors(argv[1], frames);
    return faults != 0;
}
