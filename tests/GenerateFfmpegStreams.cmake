# Muxes the transport streams that the demultiplexer is cross-checked against, from FFmpeg's own
# test sources (one named in UTF-8, as FFmpeg writes a non-ASCII name), and writes beside each
# what FFmpeg reports of it: the program and stream table (ffprobe, flat format), its packets, and
# each elementary stream as FFmpeg's stream copy gives it.
# -DFFMPEG=... -DFFPROBE=... -DOUT_DIR=...
file(MAKE_DIRECTORY ${OUT_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result ERROR_VARIABLE errors)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${errors}")
  endif()
endfunction()

function(mux name service provider)
  set(ts ${OUT_DIR}/${name}.ts)
  run(${FFMPEG} -hide_banner -loglevel error -y
      -f lavfi -i testsrc=size=352x288:rate=25 -f lavfi -i sine=frequency=1000:sample_rate=48000 -t 6
      ${ARGN} -metadata service_name=${service} -metadata service_provider=${provider}
      -mpegts_service_id 0x4242 -f mpegts ${ts})
  run(${FFPROBE} -v error -show_entries
      program=program_id,pmt_pid,pcr_pid:stream=id,codec_type:program_tags=service_name,service_provider -of flat ${ts}
      OUTPUT_FILE ${OUT_DIR}/${name}.probe)
  # Each packet as "stream index,PTS,position": a position where a PES packet starts, N/A for a
  # frame that FFmpeg's parser cut out of the middle of one.
  run(${FFPROBE} -v error -show_entries packet=stream_index,pts,pos -of csv=p=0 ${ts}
      OUTPUT_FILE ${OUT_DIR}/${name}.packets)
  run(${FFMPEG} -hide_banner -loglevel error -y -i ${ts}
      -map 0:v:0 -c copy -f data ${OUT_DIR}/${name}.video.es
      -map 0:a:0 -c copy -f data ${OUT_DIR}/${name}.audio.es)
endfunction()

mux(mpeg2 "Radio Zwei Café" "Ombrix Bühne" -c:v mpeg2video -b:v 2M -c:a mp2)
mux(h264 Ombrix-h264 Ombrix -c:v libx264 -preset veryfast -c:a aac)

# Two services in one multiplex (PIDs 0x100 to 0x103 in input order), for playing one of them.
run(${FFMPEG} -hide_banner -loglevel error -y
    -f lavfi -i testsrc=size=352x288:rate=25 -f lavfi -i sine=frequency=1000:sample_rate=48000
    -f lavfi -i testsrc2=size=320x240:rate=25 -f lavfi -i sine=frequency=440:sample_rate=44100 -t 4
    -map 0 -map 1 -map 2 -map 3 -c:v mpeg2video -b:v 2M -c:a mp2
    -program title=One:st=0:st=1 -program title=Two:st=2:st=3 -f mpegts ${OUT_DIR}/two-services.ts)

# The other codecs the player library detects from the elementary stream alone: HEVC with AC-3,
# and H.264 with AAC in LATM.
foreach(codecs "hevc-ac3.ts;-c:v;libx265;-preset;ultrafast;-x265-params;log-level=error;-c:a;ac3"
               "h264-latm.ts;-c:v;libx264;-preset;veryfast;-c:a;aac;-mpegts_flags;latm")
  list(POP_FRONT codecs name)
  run(${FFMPEG} -hide_banner -loglevel error -y
      -f lavfi -i testsrc=size=352x288:rate=25 -f lavfi -i sine=frequency=1000:sample_rate=48000 -t 2
      ${codecs} -f mpegts ${OUT_DIR}/${name})
endforeach()
