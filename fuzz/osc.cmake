# OSC packets. Run: osc_fuzz <work folder> fuzz/corpus/osc
marvo_fuzz(osc osc_fuzz.cpp endpoints/osc)
