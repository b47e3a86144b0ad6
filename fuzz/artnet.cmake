# Art-Net packets. Run: artnet_fuzz <work folder> fuzz/corpus/artnet
marvo_fuzz(artnet artnet_fuzz.cpp endpoints/artnet)
