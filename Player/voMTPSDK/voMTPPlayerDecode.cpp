// The decoding threads: each finds its codec from the elementary stream itself (a live tuner sends
// no program tables), cuts the PES payloads into frames with FFmpeg's parser, decodes them, and
// presents the pictures and samples against the clock.
#include <algorithm>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswresample/swresample.h>
}

#include "voMTPPlayerOutput.h"

namespace vomtpplayer {

namespace {
// A stream that shows no known start within this many PES packets is given up.
constexpr int kDetectAttempts = 64;

bool startCode(const uint8_t* aData) {
  return aData[0] == 0 && aData[1] == 0 && aData[2] == 1;
}

// Decoding can start only at a sequence header (MPEG-2), a sequence parameter set (H.264) or a
// video parameter set (HEVC), so the first of these found names the codec.
AVCodecID videoCodec(const std::vector<uint8_t>& aData) {
  for (size_t index = 0; index + 5 <= aData.size(); ++index) {
    if (!startCode(&aData[index])) {
      continue;
    }
    const uint8_t code = aData[index + 3];
    if (code == 0xB3) {
      return AV_CODEC_ID_MPEG2VIDEO;
    }
    if ((code & 0x9F) == 0x07 && (code & 0x60) != 0) {
      // An H.264 SPS; a picture parameter set follows it.
      for (size_t next = index + 4; next + 4 <= aData.size(); ++next) {
        if (startCode(&aData[next]) && (aData[next + 3] & 0x9F) == 0x08) {
          return AV_CODEC_ID_H264;
        }
      }
    }
    if (code == 0x40 && aData[index + 4] == 0x01) {
      return AV_CODEC_ID_HEVC;
    }
  }
  return AV_CODEC_ID_NONE;
}

AVCodecID audioCodec(const std::vector<uint8_t>& aData) {
  for (size_t index = 0; index + 6 <= aData.size(); ++index) {
    const uint8_t first = aData[index], second = aData[index + 1];
    if (first == 0x0B && second == 0x77) {
      return (aData[index + 5] >> 3) > 10 ? AV_CODEC_ID_EAC3 : AV_CODEC_ID_AC3;
    }
    if (first == 0x56 && (second & 0xE0) == 0xE0) {
      return AV_CODEC_ID_AAC_LATM;
    }
    if (first == 0xFF && (second & 0xF0) == 0xF0) {
      switch ((second >> 1) & 3) {
        case 0: return AV_CODEC_ID_AAC;
        case 1: return AV_CODEC_ID_MP3;
        case 2: return AV_CODEC_ID_MP2;
        default: return AV_CODEC_ID_MP1;
      }
    }
  }
  return AV_CODEC_ID_NONE;
}

class StreamDecoder {
 public:
  StreamDecoder(Player& aPlayer, bool aVideo) : mPlayer(aPlayer), mVideo(aVideo), mName(aVideo ? "video" : "audio") {}
  ~StreamDecoder() {
    av_parser_close(mParser);
    avcodec_free_context(&mContext);
    av_frame_free(&mFrame);
    av_packet_free(&mPacket);
    swr_free(&mResampler);
  }
  StreamDecoder(const StreamDecoder&) = delete;
  StreamDecoder& operator=(const StreamDecoder&) = delete;

  void feed(const Pes& aPes) {
    if (!mContext && !detect(aPes)) {
      return;
    }
    // FFmpeg's parsers read a little past the end of what they are given.
    mPadded.assign(aPes.data.begin(), aPes.data.end());
    mPadded.resize(aPes.data.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    const uint8_t* data = mPadded.data();
    int size = int(aPes.data.size());
    int64_t pts = aPes.pts == kNoTime ? AV_NOPTS_VALUE : aPes.pts;
    while (size > 0 && !mPlayer.aborted()) {
      uint8_t* frame = nullptr;
      int frameSize = 0;
      const int used = av_parser_parse2(mParser, mContext, &frame, &frameSize, data, size, pts, pts, 0);
      if (used < 0) {
        break;
      }
      // The PES's time belongs to the first frame that starts in it.
      pts = AV_NOPTS_VALUE;
      data += used;
      size -= used;
      if (frameSize > 0) {
        decode(frame, frameSize);
      }
    }
  }

  // The stream ended: what the parser and the decoder still hold.
  void flush() {
    if (!mContext) {
      return;
    }
    uint8_t* frame = nullptr;
    int frameSize = 0;
    av_parser_parse2(mParser, mContext, &frame, &frameSize, nullptr, 0, AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
    if (frameSize > 0) {
      decode(frame, frameSize);
    }
    avcodec_send_packet(mContext, nullptr);
    receive();
  }

 private:
  bool detect(const Pes& aPes) {
    if (mAttempts > kDetectAttempts) {
      return false;
    }
    const AVCodecID id = mVideo ? videoCodec(aPes.data) : audioCodec(aPes.data);
    if (id == AV_CODEC_ID_NONE) {
      if (++mAttempts > kDetectAttempts) {
        mPlayer.reportOnce(mName + "codec", "no " + mName + " codec recognised in the stream: " + mName + " skipped");
      }
      return false;
    }
    const AVCodec* codec = avcodec_find_decoder(id);
    mParser = av_parser_init(id);
    mContext = codec ? avcodec_alloc_context3(codec) : nullptr;
    if (!codec || !mParser || !mContext) {
      mPlayer.reportOnce(mName + "codec", std::string("no decoder for ") + avcodec_get_name(id) + ": " + mName +
                                              " skipped");
      mAttempts = kDetectAttempts + 1;
      avcodec_free_context(&mContext);
      return false;
    }
    mContext->pkt_timebase = AVRational{1, 90000};
    mContext->thread_count = 1;  // the player's own threads are the parallelism
    mFrame = av_frame_alloc();
    mPacket = av_packet_alloc();
    if (avcodec_open2(mContext, codec, nullptr) < 0 || !mFrame || !mPacket) {
      mPlayer.reportOnce(mName + "codec", std::string("cannot open the ") + avcodec_get_name(id) + " decoder");
      mAttempts = kDetectAttempts + 1;
      avcodec_free_context(&mContext);
      return false;
    }
    return true;
  }

  void decode(const uint8_t* aFrame, int aSize) {
    if (av_new_packet(mPacket, aSize) < 0) {
      return;
    }
    std::memcpy(mPacket->data, aFrame, size_t(aSize));
    mPacket->pts = mParser->pts;
    mPacket->dts = mParser->dts;
    if (avcodec_send_packet(mContext, mPacket) < 0) {
      mPlayer.reportOnce(mName + "corrupt", "corrupted " + mName + " skipped");
    }
    av_packet_unref(mPacket);
    receive();
  }

  void receive() {
    for (;;) {
      const int result = avcodec_receive_frame(mContext, mFrame);
      if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
        return;
      }
      if (result < 0) {
        mPlayer.reportOnce(mName + "corrupt", "corrupted " + mName + " skipped");
        return;
      }
      const int64_t timestamp = mFrame->best_effort_timestamp;
      if (timestamp != AV_NOPTS_VALUE) {
        mNextMs = timestamp / 90;
      }
      const int64_t ms = mNextMs == kNoTime ? 0 : mNextMs;
      if (mVideo) {
        const AVRational rate = mContext->framerate;
        mNextMs = ms + (rate.num > 0 ? int64_t(1000) * rate.den / rate.num : 40);
        mPlayer.presentPicture(*mFrame, ms);
      } else {
        if (mFrame->sample_rate > 0) {
          mNextMs = ms + int64_t(mFrame->nb_samples) * 1000 / mFrame->sample_rate;
        }
        samples(ms);
      }
      av_frame_unref(mFrame);
      if (mPlayer.aborted()) {
        return;
      }
    }
  }

  // Interleaved 16-bit samples, at most two channels, at the stream's rate.
  void samples(int64_t aMs) {
    const int channels = std::min(mFrame->ch_layout.nb_channels, 2);
    if (channels <= 0 || mFrame->sample_rate <= 0) {
      return;
    }
    if (!mResampler || mFrame->format != mInputFormat || mFrame->sample_rate != mInputRate ||
        av_channel_layout_compare(&mFrame->ch_layout, &mInputLayout) != 0) {
      swr_free(&mResampler);
      AVChannelLayout output;
      av_channel_layout_default(&output, channels);
      av_channel_layout_uninit(&mInputLayout);
      av_channel_layout_copy(&mInputLayout, &mFrame->ch_layout);
      mInputFormat = mFrame->format;
      mInputRate = mFrame->sample_rate;
      if (swr_alloc_set_opts2(&mResampler, &output, AV_SAMPLE_FMT_S16, mInputRate, &mFrame->ch_layout,
                              AVSampleFormat(mInputFormat), mInputRate, 0, nullptr) < 0 ||
          swr_init(mResampler) < 0) {
        swr_free(&mResampler);
        mPlayer.reportOnce("resample", "cannot convert this audio format");
        return;
      }
    }
    mSamples.resize(size_t(mFrame->nb_samples + 32) * size_t(channels));
    uint8_t* out = reinterpret_cast<uint8_t*>(mSamples.data());
    const int frames = swr_convert(mResampler, &out, mFrame->nb_samples + 32,
                                   const_cast<const uint8_t**>(mFrame->extended_data), mFrame->nb_samples);
    if (frames > 0) {
      mPlayer.presentSamples(mSamples.data(), frames, channels, mInputRate, aMs);
    }
  }

  Player& mPlayer;
  bool mVideo;
  std::string mName;
  int mAttempts = 0;
  AVCodecParserContext* mParser = nullptr;
  AVCodecContext* mContext = nullptr;
  AVFrame* mFrame = nullptr;
  AVPacket* mPacket = nullptr;
  int64_t mNextMs = kNoTime;
  SwrContext* mResampler = nullptr;
  AVChannelLayout mInputLayout{};
  int mInputFormat = -1, mInputRate = 0;
  std::vector<int16_t> mSamples;
  std::vector<uint8_t> mPadded;
};
}  // namespace

void Player::decode(bool aVideo) {
  Channel<Pes>& channel = aVideo ? mVideoPes : mAudioPes;
  {
    StreamDecoder decoder(*this, aVideo);
    Pes pes;
    while (channel.pop(pes)) {
      decoder.feed(pes);
    }
    if (!mAborted) {
      decoder.flush();
    }
  }
  if (aVideo) {
    mOutput->closeWindow();
  }
}

void Player::presentPicture(const AVFrame& aFrame, int64_t aMs) {
  if (!mFormatSent) {
    mFormatSent = true;
    message(VOMTP_MESSAGE_VIDEO_FORMAT, 0, uint32_t(aFrame.width), uint32_t(aFrame.height),
            aFrame.interlaced_frame ? 1u : 0u);
  }
  if (!waitRunning()) {
    return;
  }
  // Suspended pictures still keep to the clock, unseen: resuming then shows the picture of the
  // moment instead of racing through what the suspension skipped.
  if ((mSettings.paced && !waitUntil(aMs)) || mVideoSuspended) {
    return;
  }
  // Read on the clock even unpaced, where the timeline then shows how far ahead decoding runs.
  const int64_t presented = mClock.now(aMs);
  mOutput->picture(aFrame, mPictures);
  mOutput->timeline(mPictures, aMs, presented);
  ++mPictures;
  message(VOMTP_MESSAGE_TIME_STAMP, uint32_t(aMs), 0, 0, 0);
}

void Player::presentSamples(int16_t* aSamples, int aFrames, int aChannels, int aRate, int64_t aMs) {
  const uint32_t volume = mVolume;
  if (volume < 100) {
    for (int index = 0; index < aFrames * aChannels; ++index) {
      aSamples[index] = int16_t(int32_t(aSamples[index]) * int32_t(volume) / 100);
    }
  }
  if (!waitRunning()) {
    return;
  }
  // Without an audio device to pace it, audio keeps to the system clock; so do suspended samples,
  // which the device never takes, so that resuming goes on from the moment.
  if ((mSettings.paced && (mAudioSuspended || !mOutput->audioPaces()) && !waitUntil(aMs)) || mAudioSuspended) {
    return;
  }
  mOutput->samples(aSamples, aFrames, aChannels, aRate, aMs);
  if (!hasVideo()) {
    message(VOMTP_MESSAGE_TIME_STAMP, uint32_t(aMs), 0, 0, 0);
  }
}

}  // namespace vomtpplayer
