# SPDX-License-Identifier: BSD-2-Clause
"""Fails when a library asks for more of libavformat and libavcodec than demultiplexing takes."""
import re
import subprocess
import sys

library = sys.argv[1]
listing = subprocess.run(["nm", "--dynamic", "--undefined-only", "--format=posix", library], check=True, capture_output=True, text=True)
wanted = {line.split()[0].split("@")[0] for line in listing.stdout.splitlines()}
# Codecs and parsers, and the call of libavformat that opens them. Of libavcodec the record of a packet is all there is.
foreign = sorted(name for name in wanted if re.match(r"avcodec_|av_parser_|av_bsf_|avformat_find_stream_info|sws_|swr_|avfilter_", name))
print("\n".join(f"asks for {name}" for name in foreign) or "asks for no codec")
sys.exit(bool(foreign))
