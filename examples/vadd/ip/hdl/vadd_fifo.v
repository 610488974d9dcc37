// Holds up to DEPTH words between the reader and the writer. DEPTH is a power of two, at least 2.
module vadd_fifo #(
    parameter DEPTH = 16
) (
    input  wire        clk,
    input  wire        rst_n,
    input  wire        in_valid,
    output wire        in_ready,
    input  wire [31:0] in,
    output wire        out_valid,
    input  wire        out_ready,
    output wire [31:0] out
);
    localparam BITS = $clog2(DEPTH);

    reg [31:0] words[0:DEPTH-1];
    reg [BITS:0] head, tail;  // one bit wider than an index, so that full and empty differ
    wire [BITS:0] used = tail - head;

    assign in_ready = used != DEPTH;
    assign out_valid = used != 0;
    assign out = words[head[BITS-1:0]];

    always @(posedge clk)
        if (!rst_n) begin
            head <= 0;
            tail <= 0;
        end else begin
            if (in_valid & in_ready) begin
                words[tail[BITS-1:0]] <= in;
                tail <= tail + 1'b1;
            end
            if (out_valid & out_ready) head <= head + 1'b1;
        end
endmodule
