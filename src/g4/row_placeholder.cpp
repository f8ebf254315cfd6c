namespace rle {}
